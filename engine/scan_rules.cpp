#include "engine/scan_rules.h"

#include <algorithm>

#include "engine/text.h"
#include "platform/paths.h"

namespace vestigo {
namespace {

constexpr std::string_view smartFolders[] = {
    "/Applications", "~/Applications", "/Library", "~/Library", "/usr/local",   "/opt",
    "/bin",          "/sbin",          "/usr/bin", "/usr/sbin", "/usr/libexec",
};

constexpr std::string_view excludedPlaces[] = {
    "/System/Volumes",          "/Volumes",           "/dev",
    "/private/var/vm",          "/.Spotlight-V100",   "/.fseventsd",
    "/.DocumentRevisions-V100", "/Library/Developer",
};

constexpr std::string_view excludedNames[] = {
    "Caches",       "node_modules", ".Trash",           "DerivedData", ".git",
    "CloudStorage", "Biome",        "Mobile Documents", "Homebrew",
};

constexpr std::string_view skippedSuffixes[] = {
    ".db",     ".db-wal",  ".db-shm",     ".wal",        ".shm",
    ".sqlite", ".sqlite3", ".sqlite-wal", ".sqlite-shm",
};

bool endsWithIgnoringCase(std::string_view text, std::string_view lowerSuffix) {
    if (text.size() < lowerSuffix.size()) return false;
    return std::ranges::equal(text.substr(text.size() - lowerSuffix.size()), lowerSuffix, {},
                              lowerCase);
}

}  // namespace

std::vector<std::string> scanRoots(const std::optional<std::string>& customFolder, Scope scope,
                                   const std::string& home) {
    if (customFolder) return {*customFolder};
    if (scope == Scope::deep) return {"/"};
    const auto below = home.ends_with('/') ? home.substr(0, home.size() - 1) : home;
    std::vector<std::string> roots;
    for (const auto folder : smartFolders) {
        roots.push_back(folder.starts_with('~') ? below + std::string(folder.substr(1))
                                                : std::string(folder));
    }
    return roots;
}

std::span<const std::string_view> excludedPrefixes() {
    return excludedPlaces;
}

bool isExcludedName(std::string_view name) {
    return std::ranges::find(excludedNames, name) != std::end(excludedNames);
}

bool isDatabaseName(std::string_view name) {
    // All suffixes end in one of these letters, so one comparison is enough for most names.
    constexpr std::string_view lastLetters = "blme3BLME";
    if (name.empty() || lastLetters.find(name.back()) == std::string_view::npos) return false;
    return std::ranges::any_of(skippedSuffixes, [name](std::string_view suffix) {
        return endsWithIgnoringCase(name, suffix);
    });
}

/// Compares the folder with all excluded places once, so that afterwards only the names of its
/// entries have to be compared. A place is not excluded within a folder that the user has named.
FolderExclusions::FolderExclusions(std::string_view prefix,
                                   std::span<const std::string> namedRoots) {
    const auto folder = prefix.substr(0, prefix.size() - 1);
    for (const auto place : excludedPlaces) {
        const auto opens = [&](const std::string& root) {
            return liesUnder(folder, root) && liesUnder(root, place);
        };
        everything_ =
            everything_ || (liesUnder(folder, place) && std::ranges::none_of(namedRoots, opens));
        if (place.starts_with(prefix)) {
            const auto rest = place.substr(prefix.size());
            if (rest.find('/') == std::string_view::npos) names_.push_back(rest);
        }
    }
}

bool FolderExclusions::excludes(std::string_view name) const {
    return isExcludedName(name) || std::ranges::find(names_, name) != names_.end();
}

}  // namespace vestigo
