#include "platform/folder_cleanup_trash.h"

#include <utility>

#include "platform/paths.h"

namespace vestigo {

FolderCleanupTrash::FolderCleanupTrash(std::string folder, std::shared_ptr<Files> files)
    : folder_(std::move(folder)), files_(std::move(files)) {}

CleanupPlan FolderCleanupTrash::plan(const std::vector<CleanupItem>& items) {
    // Where this user may not look at it, it is there.
    files_->createFolders(folder_);
    auto trash = files_->identity(folder_);
    if (!trash) trash = files_->identity(std::string(folderOf(folder_)));
    CleanupPlan plan;
    for (const auto& item : items) {
        if (trash && item.identity.device == trash->device) {
            plan.items.push_back(item);
        } else {
            plan.onOtherDisks.push_back(item.path);
        }
    }
    plan.folder = folder_;
    return plan;
}

}  // namespace vestigo
