// Plans how an administrator's script moves items into the user's Trash.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/files.h"

namespace vestigo {

/// A Trash may keep a note for each item, which records where the item came from. The script takes
/// the notes from `journal` and puts one into `folder` for each item that it moves.
struct CleanupNotes {
    std::string folder;  ///< In the Trash. A note's name is that of its item plus `ending`.
    std::string ending;
    /// A folder with the notes "notes/1", "notes/2", ... in the order of the items, and the empty
    /// folders "info" and "files". While it runs, the script holds a shared lock on this folder. It
    /// records in "info" and "files" which notes and placeholders it has put into the Trash before
    /// their items, so that those can be removed if the script is killed.
    std::string journal;
};

/// An item to be moved, with its identity at the time when the removal was decided.
struct CleanupItem {
    std::string path;  ///< Absolute.
    ItemIdentity identity;
};

/// The plan does not say which name each item gets. The script chooses it at the moment of the
/// move: a name cannot be kept free while the system asks for the password, and only the superuser
/// may be allowed to read the Trash.
struct CleanupPlan {
    /// The given items in their order, without those that lie on another disk than the Trash. To
    /// move one of those would mean to copy it, and an interrupted copy leaves half an item.
    std::vector<CleanupItem> items;
    std::vector<std::string> onOtherDisks;
    std::string folder;             ///< The folder in the Trash that receives the items.
    std::size_t longestName = 255;  ///< In bytes, of the name of an item in the Trash.
    std::optional<CleanupNotes> notes;
    /// Present when no plan could be made: the reason, as a text for the user. `items` is then
    /// empty.
    std::optional<std::string> error;
    /// Releasing the last copy of the plan removes whatever was prepared for the script, or was
    /// left by it.
    std::shared_ptr<void> prepared;
};

/// Thread-safe; blocking.
class CleanupTrash {
public:
    virtual ~CleanupTrash() = default;
    [[nodiscard]] virtual CleanupPlan plan(const std::vector<CleanupItem>& items) = 0;
};

}  // namespace vestigo
