#include "platform/folder_cleanup_trash.h"

#include <utility>

namespace vestigo {

FolderCleanupTrash::FolderCleanupTrash(std::string folder, std::shared_ptr<Files> files)
    : folder_(std::move(folder)), files_(std::move(files)) {}

CleanupPlan FolderCleanupTrash::plan(const std::vector<std::string>& paths) {
    // Where this user may not look into it, it is there.
    files_->createFolders(folder_);
    CleanupPlan plan;
    plan.paths = paths;
    plan.folder = folder_;
    return plan;
}

}  // namespace vestigo
