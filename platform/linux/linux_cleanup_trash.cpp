#include "platform/linux/linux_cleanup_trash.h"

#include <cerrno>
#include <utility>

#include "platform/linux/cleanup_journal.h"
#include "platform/linux/linux_trash.h"
#include "platform/posix/posix_files.h"

namespace vestigo {

LinuxCleanupTrash::LinuxCleanupTrash(std::string homeTrash) : homeTrash_(std::move(homeTrash)) {}

CleanupPlan LinuxCleanupTrash::plan(const std::vector<std::string>& paths) {
    auto trash = TrashFolder::openHome(homeTrash_);
    // The user may have put their Trash elsewhere by a link; the script follows none.
    const auto place = trash ? PosixFiles().resolved(homeTrash_) : std::nullopt;
    std::shared_ptr<CleanupJournal> journal;
    if (place) journal = CleanupJournal::make(std::move(*trash), paths);
    CleanupPlan plan;
    if (!journal) {
        plan.error = "The Trash cannot be used: " + trashErrorText(errno) + ".";
        return plan;
    }
    plan.paths = paths;
    plan.folder = *place + "/files";
    plan.longestName = longestTrashName;
    plan.notes = CleanupNotes{.folder = *place + "/info",
                              .ending = trashNoteEnding,
                              .journal = *place + "/" + journal->name()};
    plan.prepared = std::move(journal);
    return plan;
}

}  // namespace vestigo
