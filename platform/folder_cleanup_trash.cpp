#include "platform/folder_cleanup_trash.h"

#include <utility>

#include "platform/paths.h"

namespace vestigo {
namespace {

/// Cuts a text to at most `longest` bytes, but not within a UTF-8 character.
std::string_view shortened(std::string_view text, std::size_t longest) {
    if (text.size() <= longest) return text;
    const auto continues = [](char byte) { return (static_cast<unsigned char>(byte) >> 6U) == 2; };
    auto length = longest;
    while (length > 0 && continues(text[length])) --length;
    // Bytes that are not UTF-8 are cut at the limit.
    return text.substr(0, length > 0 ? length : longest);
}

/// Returns the extension with its dot; empty when there is none.
std::string_view extensionOf(std::string_view name, std::size_t longest) {
    const auto dot = name.rfind('.');
    // A dot at the very beginning or end makes no extension, and neither does a very long ending.
    const bool extended = dot != name.npos && dot > 0 && name.size() - dot < longest / 2;
    return extended ? name.substr(dot) : std::string_view();
}

}  // namespace

std::string trashName(std::string_view name, unsigned attempt, std::size_t longest) {
    std::string ending;
    if (attempt > 1) ending.append(".").append(std::to_string(attempt));
    ending += extensionOf(name, longest);
    const auto stem = name.substr(0, name.size() - extensionOf(name, longest).size());
    return std::string(shortened(stem, longest - ending.size())) + ending;
}

TrashNameParts trashNameParts(std::string_view name, std::size_t longest) {
    constexpr std::size_t longestNumber = std::string_view(".99999").size();
    const auto ending = extensionOf(name, longest);
    const auto stem = name.substr(0, name.size() - ending.size());
    return {.stem = std::string(shortened(stem, longest - longestNumber - ending.size())),
            .ending = std::string(ending)};
}

FolderCleanupTrash::FolderCleanupTrash(std::string folder, std::shared_ptr<Files> files)
    : folder_(std::move(folder)), files_(std::move(files)) {}

CleanupPlan FolderCleanupTrash::plan(const std::vector<CleanupItem>& items) {
    files_->createFolders(folder_);
    // Where this user may not examine the Trash, the disk is that of its parent.
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
