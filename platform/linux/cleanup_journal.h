// What an administrator's script takes in a Trash, kept where it is found again when the script, or
// the program that started it, was killed. On file systems that know no rename without replacing,
// the program's own moves take their names in the same way.
//
// A journal is a folder in the Trash, beside "files" and "info", that the user's program makes:
//   notes/1, 2, ...      a note for each item, in the plan's order
//   info/NAME.trashinfo  another link to the note that the script has put into the Trash's "info"
//   files/NAME           an empty file: the script takes this name in the Trash's "files". For a
//                        file it is another link to the placeholder there; for a folder the
//                        placeholder is an empty folder without any permissions
// The program and the script each hold a shared lock on it, so a journal that can be locked for
// oneself is nobody's any more. All that it names can then be told from items by inode numbers.
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
    /// In this Trash, with notes for items from these places. Null with errno; nothing stays then.
    [[nodiscard]] static std::unique_ptr<CleanupJournal> make(
        TrashFolder trash, const std::vector<std::string>& origins);
    /// Clears the journal, and gives back the names to which nothing has come, unless the script
    /// still runs.
    ~CleanupJournal();
    CleanupJournal(const CleanupJournal&) = delete;
    CleanupJournal& operator=(const CleanupJournal&) = delete;

    /// Of its folder.
    [[nodiscard]] const std::string& name() const { return name_; }

    /// Takes a name in the Trash's "files" by a placeholder that an item of this kind can replace.
    /// False with errno: EEXIST where the name is taken.
    [[nodiscard]] bool reserveName(const std::string& name, EntryKind kind) const;
    /// An item has come to a name that was taken.
    void forget(const std::string& name) const;

private:
    explicit CleanupJournal(TrashFolder trash) : trash_(std::move(trash)) {}
    [[nodiscard]] bool create(const std::vector<std::string>& origins);

    TrashFolder trash_;
    std::string name_;
    Descriptor folder_;
};

/// Moves an entry of an open folder to a name in the Trash, replaces a placeholder of its own there
/// and nothing else. 0 or the error.
[[nodiscard]] int moveOverPlaceholder(const TrashFolder& trash, int folder, const std::string& name,
                                      const std::string& taken);

/// Clears all journals in a Trash that nobody holds. False when one is held.
[[nodiscard]] bool clearCleanupJournals(const TrashFolder& trash);

}  // namespace vestigo
