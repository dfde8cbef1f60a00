#include "engine/removal_guard.h"

#include <algorithm>
#include <string>

#include "platform/paths.h"

namespace vestigo {

bool isProtected(std::string_view root) {
    return std::ranges::any_of(
        protectedPrefixes, [root](std::string_view prefix) { return root.starts_with(prefix); });
}

bool wouldRemoveProtected(std::string_view path) {
    auto folder = std::string(path);
    if (!folder.ends_with('/')) folder += '/';
    return isProtected(folder) || std::ranges::any_of(protectedPrefixes, [&](auto prefix) {
               return prefix.starts_with(folder);
           });
}

std::optional<std::string> realPlace(const std::string& path, Files& files) {
    const auto name = nameOf(path);
    if (name == path || name.empty() || name == "." || name == "..") return std::nullopt;
    auto folder = files.resolved(std::string(folderOf(path)) + '/');
    if (!folder) return std::nullopt;
    if (!folder->ends_with('/')) *folder += '/';
    return folder->append(name);
}

std::optional<std::string> protectionOf(const std::string& path, Files& files) {
    const auto real = realPlace(path, files);
    if (wouldRemoveProtected(path) || (real && wouldRemoveProtected(*real))) {
        return leftInPlace(path, "is protected by the system");
    }
    // If nothing is at the path, the attempt to move it reports that. But an item that is there and
    // whose real place is unknown might lie in a protected place.
    if (!real && files.kind(path)) return leftInPlace(path, "could not be looked into");
    return std::nullopt;
}

std::string quotedName(std::string_view path) {
    const auto name = nameOf(path);
    std::string text = "“";
    return text.append(name.empty() ? path : name).append("”");
}

std::string leftInPlace(std::string_view path, std::string_view why) {
    return quotedName(path).append(" ").append(why).append(" and was left in its place.");
}

std::string leftInPlace(std::string_view path, std::string_view held, std::string_view why) {
    return leftInPlace(path, "holds " + quotedName(held) + ", which " + std::string(why) + ",");
}

}  // namespace vestigo
