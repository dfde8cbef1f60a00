#include "platform/linux/linux_cleanup_trash.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>

#include "platform/linux/cleanup_journal.h"
#include "platform/linux/linux_trash.h"
#include "platform/paths.h"
#include "platform/posix/posix_files.h"

namespace vestigo {
namespace {

/// Whether a rename can take it to this folder. One that has gone is for the script to find.
bool isInReachOf(int folder, const std::string& path) {
    const auto mount = mountOf(AT_FDCWD, std::string(folderOf(path)) + '/');
    return mount ? mount == mountOf(folder, "") : errno == ENOENT;
}

CleanupPlan withoutTrash() {
    CleanupPlan plan;
    plan.error = "The Trash cannot be used: " + trashErrorText(errno) + ".";
    return plan;
}

}  // namespace

LinuxCleanupTrash::LinuxCleanupTrash(std::string homeTrash) : homeTrash_(std::move(homeTrash)) {}

CleanupPlan LinuxCleanupTrash::plan(const std::vector<CleanupItem>& items) {
    auto trash = TrashFolder::openHome(homeTrash_);
    // The user may have put their Trash elsewhere by a link; the script follows none.
    const auto place = trash ? PosixFiles().resolved(homeTrash_) : std::nullopt;
    if (!place) return withoutTrash();
    CleanupPlan plan;
    std::vector<std::string> origins;
    for (const auto& item : items) {
        if (isInReachOf(trash->files(), item.path)) {
            plan.items.push_back(item);
            origins.push_back(item.path);
        } else {
            plan.onOtherDisks.push_back(item.path);
        }
    }
    std::shared_ptr<CleanupJournal> journal = CleanupJournal::make(std::move(*trash), origins);
    if (!journal) return withoutTrash();
    plan.folder = *place + "/files";
    plan.longestName = longestTrashName;
    plan.notes = CleanupNotes{.folder = *place + "/info",
                              .ending = trashNoteEnding,
                              .journal = *place + "/" + journal->name()};
    plan.prepared = std::move(journal);
    return plan;
}

}  // namespace vestigo
