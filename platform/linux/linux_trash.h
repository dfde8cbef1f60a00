// The desktop's Trash, from which the file manager restores.
#pragma once

#include <set>
#include <string>

#include "platform/trash.h"

namespace vestigo {

/// Items go to the Trash on their own file system, by a rename: the user's main one, else the
/// shared or the user's own one at the top of that file system, made where it is missing and the
/// user may. Where an item came from is on the disk before it is moved, so whenever this is
/// interrupted the item is in its place, or whole in the Trash and can be restored. What killed
/// programs of this user have left in a Trash is cleared away at the start, or on another disk
/// before the first item goes there.
class LinuxTrash : public Trash {
public:
    /// `homeTrash`: "Trash" in the user's data folder.
    explicit LinuxTrash(std::string homeTrash);

    [[nodiscard]] std::optional<std::string> moveToTrash(const std::string& path,
                                                         const ItemIdentity& item) override;

private:
    std::string homeTrash_;
    std::set<std::string> cleared_;  ///< Tops of other disks.
};

/// Why something could not be moved, in words that follow "…: ".
[[nodiscard]] std::string trashErrorText(int error);

}  // namespace vestigo
