// Moves items to the desktop's Trash, from which the file manager restores them, and plans how an
// administrator's script moves the others there.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "platform/cleanup_trash.h"
#include "platform/trash.h"

namespace vestigo {

/// Each item is moved, by a rename, to a Trash on its own file system: the user's main one, else
/// the shared one or the user's own at the top of that file system. A missing one is created if the
/// user may. The note with the item's original path is on the disk before the item moves, so at any
/// interruption the item is in its place, or complete in the Trash and restorable. Leftovers of
/// this user's killed programs are removed from the main Trash on construction, and from that of
/// another disk before the first item goes there.
class LinuxTrash : public Trash {
public:
    /// `homeTrash` is the path of "Trash" in the user's data folder.
    explicit LinuxTrash(std::string homeTrash);

    [[nodiscard]] std::optional<std::string> moveToTrash(const std::string& path,
                                                         const ItemIdentity& item) override;

private:
    std::string homeTrash_;
    std::set<std::string> cleared_;  ///< Top folders of the other disks whose Trash was cleared.
};

/// Uses the user's main Trash. The note of each item is written when the plan is made, with the
/// user's rights. When the plan is released, nothing is left there of items that have not arrived.
class LinuxCleanupTrash : public CleanupTrash {
public:
    /// `homeTrash` is the path of "Trash" in the user's data folder.
    explicit LinuxCleanupTrash(std::string homeTrash);

    [[nodiscard]] CleanupPlan plan(const std::vector<CleanupItem>& items) override;

private:
    std::string homeTrash_;
};

/// The reason why an item could not be moved, in words that can follow a colon.
[[nodiscard]] std::string trashErrorText(int error);

}  // namespace vestigo
