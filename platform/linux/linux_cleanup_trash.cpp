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

/// Whether a rename can move the item to this folder. An item that has gone counts as within reach:
/// the script will find that out.
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
    // The user's Trash may itself be a link to another place. The script follows no links, so it
    // gets the real path.
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
