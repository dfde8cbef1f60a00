// A Trash that is just a folder.
#pragma once

#include <memory>

#include "platform/cleanup_trash.h"
#include "platform/files.h"

namespace vestigo {

class FolderCleanupTrash : public CleanupTrash {
public:
    FolderCleanupTrash(std::string folder, std::shared_ptr<Files> files);

    /// Never fails. The folder is made when it is missing.
    [[nodiscard]] CleanupPlan plan(const std::vector<CleanupItem>& items) override;

private:
    std::string folder_;
    std::shared_ptr<Files> files_;
};

}  // namespace vestigo
