// Places in the desktop's Trash for what an administrator's script moves.
#pragma once

#include <string>

#include "platform/cleanup_trash.h"

namespace vestigo {

/// The user's main Trash. Where each item comes from is written, as the user, when the plan is
/// made; what has not arrived when it ends leaves no trace there.
class LinuxCleanupTrash : public CleanupTrash {
public:
    /// `homeTrash`: "Trash" in the user's data folder.
    explicit LinuxCleanupTrash(std::string homeTrash);

    [[nodiscard]] CleanupPlan plan(const std::vector<CleanupItem>& items) override;

private:
    std::string homeTrash_;
};

}  // namespace vestigo
