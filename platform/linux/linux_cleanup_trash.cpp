#include "platform/linux/linux_cleanup_trash.h"

#include <cerrno>
#include <utility>

#include "platform/linux/linux_trash.h"
#include "platform/linux/trash_folder.h"

namespace vestigo {
namespace {

std::string nameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

}  // namespace

LinuxCleanupTrash::LinuxCleanupTrash(std::string homeTrash) : homeTrash_(std::move(homeTrash)) {}

CleanupPlan LinuxCleanupTrash::plan(const std::vector<std::string>& paths) {
    CleanupPlan plan;
    const auto trash = TrashFolder::openHome(homeTrash_);
    for (const auto& path : paths) {
        auto taken = trash ? trash->reserve(nameOf(path), path) : std::nullopt;
        if (!taken) {
            auto why = "The Trash cannot be used: " + trashErrorText(errno) + ".";
            finish(plan);
            return {.moves = {}, .error = std::move(why)};
        }
        if (*taken == nameOf(path)) taken.reset();
        plan.moves.push_back({path, homeTrash_ + "/files", std::move(taken)});
    }
    return plan;
}

void LinuxCleanupTrash::finish(const CleanupPlan& plan) {
    const auto trash = TrashFolder::openHome(homeTrash_);
    if (!trash) return;
    for (const auto& move : plan.moves) {
        const auto taken = move.newName.value_or(nameOf(move.path));
        if (!trash->holds(taken)) trash->release(taken);
    }
}

}  // namespace vestigo
