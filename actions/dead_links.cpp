// Homebrew makes links from its "bin", "lib" and other folders into the keg of each formula. When
// the keg is removed, these links lead nowhere. Only links into this keg are removed. Where a link
// leads is decided by its text, because a path that does not exist cannot be resolved.
#include "actions/dead_links.h"

#include <algorithm>
#include <array>

#include "engine/scan_rules.h"
#include "platform/paths.h"

namespace vestigo {
namespace {

constexpr std::string_view cellar = "/Cellar/";
constexpr std::array<std::string_view, 8> linkFolders{"bin",     "sbin", "lib",     "share",
                                                      "include", "opt",  "libexec", "Frameworks"};

/// A relative destination begins at the folder in which the link lies.
std::string destinationPath(const FoundLink& link) {
    const auto destination = link.destination();
    if (destination.starts_with('/')) return standardizedPath(destination);
    std::string path(link.folder());
    return standardizedPath(path.append("/").append(destination));
}

}  // namespace

std::string standardizedPath(std::string_view path) {
    std::string result;
    for (std::size_t at = 0; at < path.size();) {
        const auto end = std::min(path.find('/', at), path.size());
        const auto component = path.substr(at, end - at);
        at = end + 1;
        if (component.empty() || component == ".") continue;
        if (component == "..") {
            result.resize(folderOf(result).size());
        } else {
            result.append("/").append(component);
        }
    }
    return result.empty() ? "/" : result;
}

std::size_t cleanDeadSymlinks(const std::string& kegPath, Links& links, Files& files) {
    const auto prefixEnd = kegPath.find(cellar);
    if (prefixEnd == std::string::npos) return 0;
    std::size_t count = 0;
    for (const auto name : linkFolders) {
        const auto folder = kegPath.substr(0, prefixEnd).append("/").append(name);
        links.visit(folder, [&](FoundLink& link) {
            const auto path = destinationPath(link);
            if (liesUnder(path, kegPath) && !files.exists(path) && link.removeDead()) ++count;
        });
    }
    return count;
}

}  // namespace vestigo
