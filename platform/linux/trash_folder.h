// One Trash folder, laid out by the desktop's rules: "files" holds the items, "info" where each of
// them came from.
#pragma once

#include <optional>
#include <string>

#include "platform/posix/descriptor.h"

namespace vestigo {

/// Thread-safe, also against other programs that use the same folder.
class TrashFolder {
public:
    /// The user's main one; made with its parents when missing. Absent with errno.
    [[nodiscard]] static std::optional<TrashFolder> openHome(const std::string& path);
    /// One with this name in an open folder; made when missing. It must be a real folder of this
    /// user. Absent with errno.
    [[nodiscard]] static std::optional<TrashFolder> openIn(int folder, const std::string& name);

    /// Takes a free name, the item's own if possible, and writes to the disk where the item comes
    /// from: a path that is absolute, or relative to the top of the Trash's file system. Absent
    /// with errno.
    [[nodiscard]] std::optional<std::string> reserve(const std::string& itemName,
                                                     const std::string& origin) const;
    /// Moves an entry of an open folder to a name taken for it. Nothing is replaced, no link is
    /// followed, nothing is copied. 0 or the error.
    [[nodiscard]] int takeIn(int folder, const std::string& name, const std::string& taken) const;
    /// Gives back a taken name that no item has come to.
    void release(const std::string& taken) const;
    [[nodiscard]] bool holds(const std::string& taken) const;

private:
    [[nodiscard]] static std::optional<TrashFolder> layOut(Descriptor folder);
    [[nodiscard]] bool writeInfo(const std::string& taken, const std::string& text) const;

    Descriptor files_;
    Descriptor info_;
};

}  // namespace vestigo
