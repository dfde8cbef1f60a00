// Records which names a removal has taken in a Trash before its items arrive, so that these can be
// given back when the administrator's script, or the program that started it, is killed. On file
// systems that cannot rename without replacing, the program's own moves use it as well.
//
// A journal is a folder in the Trash, beside "files" and "info", that the user's program creates:
//   notes/1, 2, ...      a note for each item, in the plan's order
//   info/NAME.trashinfo  a second link to a note that the script has put into the Trash's "info"
//   files/NAME           an empty file: the script has taken this name in the Trash's "files". For
//                        an item that is no folder, it is a second link to the placeholder there;
//                        for a folder the placeholder is an empty folder without any permissions
//
// The program and the script each hold a shared lock on it, so a journal that can be locked
// exclusively belongs to nobody any more. Placeholders and notes can be told from items because
// both links have the same inode number.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/linux/trash_folder.h"

namespace vestigo {

class CleanupJournal {
public:
    /// Creates a journal in this Trash, with notes for items from these places. Null with errno;
    /// nothing is left behind then.
    [[nodiscard]] static std::unique_ptr<CleanupJournal> make(
        TrashFolder trash, const std::vector<std::string>& origins);
    /// Removes the journal and gives back the names that no item has come to, unless the script
    /// still runs.
    ~CleanupJournal();
    CleanupJournal(const CleanupJournal&) = delete;
    CleanupJournal& operator=(const CleanupJournal&) = delete;

    /// The name of its folder.
    [[nodiscard]] const std::string& name() const { return name_; }

    /// Takes a name in the Trash's "files" with a placeholder that an item of this kind can
    /// replace. False with errno: EEXIST where the name is taken.
    [[nodiscard]] bool reserveName(const std::string& name, EntryKind kind) const;
    /// Removes the record of a name, once an item has come to it.
    void forget(const std::string& name) const;

private:
    explicit CleanupJournal(TrashFolder trash) : trash_(std::move(trash)) {}
    [[nodiscard]] bool create(const std::vector<std::string>& origins);

    TrashFolder trash_;
    std::string name_;
    Descriptor folder_;
};

/// Moves an entry of an open folder to a name in the Trash. It replaces its own placeholder there
/// and nothing else. 0 or the error.
[[nodiscard]] int moveOverPlaceholder(const TrashFolder& trash, int folder, const std::string& name,
                                      const std::string& taken);

/// Removes all journals in a Trash that nobody holds. False when one is held.
[[nodiscard]] bool clearCleanupJournals(const TrashFolder& trash);

}  // namespace vestigo
