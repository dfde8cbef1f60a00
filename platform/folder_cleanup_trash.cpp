#include "platform/folder_cleanup_trash.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "platform/trash_names.h"

namespace vestigo {
namespace {

constexpr std::size_t longestName = 255;

std::string withoutCase(std::string name) {
    std::ranges::transform(name, name.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return name;
}

}  // namespace

FolderCleanupTrash::FolderCleanupTrash(std::string folder, std::shared_ptr<Files> files)
    : folder_(std::move(folder)), files_(std::move(files)) {}

CleanupPlan FolderCleanupTrash::plan(const std::vector<std::string>& paths) {
    CleanupPlan plan;
    std::unordered_set<std::string> taken;
    for (const auto& path : paths) {
        const auto own = path.substr(path.rfind('/') + 1);
        auto name = own;
        for (unsigned attempt = 2;
             files_->kind(folder_ + "/" + name) || !taken.insert(withoutCase(name)).second;
             ++attempt) {
            name = trashName(own, attempt, longestName);
        }
        plan.moves.push_back({path, folder_, name == own ? std::nullopt : std::optional(name)});
    }
    return plan;
}

}  // namespace vestigo
