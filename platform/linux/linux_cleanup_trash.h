// Plans a clean-up into the desktop's Trash.
#pragma once

#include <string>

#include "platform/cleanup_trash.h"

namespace vestigo {

/// Uses the user's main Trash. The note of each item is written when the plan is made, with the
/// user's rights. When the plan is released, nothing is left there of items that have not arrived.
class LinuxCleanupTrash : public CleanupTrash {
public:
    /// `homeTrash` is the path of "Trash" in the user's data folder.
    explicit LinuxCleanupTrash(std::string homeTrash);

    [[nodiscard]] CleanupPlan plan(const std::vector<CleanupItem>& items) override;

private:
    std::string homeTrash_;
};

}  // namespace vestigo
