// Where in the user's Trash an administrator's script puts things.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/files.h"

namespace vestigo {

/// Where a script finds a note for each item, which tells where the item came from, and where it
/// puts the notes of those that it moves.
struct CleanupNotes {
    std::string folder;  ///< In the Trash. A note there takes its item's name plus `ending`.
    std::string ending;
    /// A folder that holds "notes/1", "notes/2", ... in the order of the items, and the empty
    /// folders "info" and "files". The script holds a shared lock on it, and keeps a second link
    /// there to whatever it has put into the Trash without an item.
    std::string journal;
};

/// What is to go, as it was when that was decided.
struct CleanupItem {
    std::string path;  ///< Absolute.
    ItemIdentity identity;
};

/// A script takes names in the Trash itself, at the moment of each move: nobody else can keep them
/// for it while the password is asked for, and it may be the only one who is allowed to look there.
struct CleanupPlan {
    /// In their order; without those that lie on another disk than the Trash. A move there would be
    /// a copy, and leave half of an item wherever it is broken off.
    std::vector<CleanupItem> items;
    std::vector<std::string> onOtherDisks;
    std::string folder;             ///< In the Trash, where the items go.
    std::size_t longestName = 255;  ///< In bytes, of an item in the Trash.
    std::optional<CleanupNotes> notes;
    /// Why there is no plan, for the user to read. `items` is then empty.
    std::optional<std::string> error;
    /// Ends with the last copy of the plan: then whatever was prepared for the script, or left by
    /// it, is cleared away.
    std::shared_ptr<void> prepared;
};

/// Thread-safe; blocking.
class CleanupTrash {
public:
    virtual ~CleanupTrash() = default;
    [[nodiscard]] virtual CleanupPlan plan(const std::vector<CleanupItem>& items) = 0;
};

}  // namespace vestigo
