// The user may name folders that overlap, and no file may be listed twice. A folder is dropped when
// the walk of another one reaches it. Comparing the paths alone is not enough: the outer walk
// leaves out hidden and excluded folders. So when the user names a folder and another one inside
// it, the inner one is kept exactly when the walk of the outer one would not enter it. This file
// therefore asks the walk's own rules and the disk, one path component at a time. Links are
// resolved for the comparison only; the walk begins at the path as the user wrote it.
#include "cli/scan_folders.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "engine/scan_rules.h"
#include "platform/paths.h"
#include "platform/system.h"

namespace vestigo {
namespace {

struct NamedFolder {
    std::string path;  ///< Absolute, as the user spells it.
    std::string real;  ///< The same folder with all links resolved.
};

/// Tells whether a walk from `folder` enters the folder at the relative path `rest`.
bool walkReaches(DirectoryReader& reader, const std::string& folder, std::string_view rest) {
    std::string at = folder;
    while (!rest.empty()) {
        const auto name = rest.substr(0, rest.find('/'));
        if (!at.ends_with('/')) at += '/';
        const FolderExclusions exclusions(at, {&folder, 1});
        if (exclusions.everything() || exclusions.excludes(name)) return false;
        bool entered = false;
        const auto open = reader.open(at);
        const auto look = [&](const FolderEntry& entry) {
            if (entry.name != name) return true;
            entered = entry.kind == EntryKind::folder && !entry.hidden;
            return false;
        };
        if (!open || !open->list(look) || !entered) return false;
        at += name;
        rest.remove_prefix(std::min(rest.size(), name.size() + 1));
    }
    return true;
}

bool isWalkedFrom(DirectoryReader& reader, const NamedFolder& outer, const NamedFolder& inner) {
    const auto top = outer.real == "/" ? std::string() : outer.real;
    if (!liesUnder(inner.real, top)) return false;
    const auto rest =
        std::string_view(inner.real).substr(std::min(top.size() + 1, inner.real.size()));
    return walkReaches(reader, outer.path, rest);
}

/// Drops each folder that the walk of another one reaches. When two names lead to one folder, the
/// first one stays.
std::vector<std::string> withoutOverlaps(DirectoryReader& reader,
                                         std::vector<NamedFolder> folders) {
    for (std::size_t i = folders.size(); i-- > 0;) {
        const auto& inner = folders[i];
        const auto covers = [&](const NamedFolder& outer) {
            return &outer != &inner && isWalkedFrom(reader, outer, inner);
        };
        if (std::ranges::any_of(folders, covers)) {
            folders.erase(folders.begin() + std::ptrdiff_t(i));
        }
    }
    std::vector<std::string> paths;
    paths.reserve(folders.size());
    for (auto& folder : folders) paths.push_back(std::move(folder.path));
    return paths;
}

/// Checks the named folders in turn and stops at the first that does not exist or is no folder.
class FolderResolver {
public:
    FolderResolver(DirectoryReader& reader, Files& files) : reader_(reader), files_(files) {}

    ScanFolders resolve(const std::vector<std::string>& names) {
        std::error_code error;
        const auto current = std::filesystem::current_path(error).string();
        for (const auto& name : names) {
            const auto path = absoluteLexically(name, current);
            if (!path.starts_with('/')) return refuse("the current folder is gone");
            errno = 0;
            if (reader_.open(path)) {
                // The system cannot resolve a path that is too long; it is used as written.
                found_.push_back({path, files_.resolved(path).value_or(path)});
                continue;
            }
            const int reason = errno;
            if (reason == ENOENT) return refuse(name + " does not exist");
            if (reason == ENOTDIR) return refuse(name + " is not a folder");
            result_.unopened.push_back("cannot open " + name + ": " +
                                       std::generic_category().message(reason));
        }
        result_.named = true;
        result_.roots = withoutOverlaps(reader_, std::move(found_));
        return std::move(result_);
    }

private:
    static ScanFolders refuse(std::string why) {
        return {.roots = {}, .named = true, .unopened = {}, .refusal = std::move(why)};
    }

    DirectoryReader& reader_;
    Files& files_;
    std::vector<NamedFolder> found_;
    ScanFolders result_;
};

/// The smart folders in their usual order. One that lies in a home appears once for each home, at
/// the same place of the order.
std::vector<std::string> smartFolders(const std::vector<std::string>& homes) {
    std::vector<std::string> roots;
    const auto first = scanRoots(std::nullopt, Scope::smart, homes.front());
    for (std::size_t i = 0; i < first.size(); ++i) {
        for (const auto& home : homes) {
            auto root = scanRoots(std::nullopt, Scope::smart, home)[i];
            if (std::ranges::find(roots, root) == roots.end()) roots.push_back(std::move(root));
        }
    }
    return roots;
}

}  // namespace

ScanFolders scanFolders(const ScanOptions& options, DirectoryReader& reader, Files& files) {
    if (!options.folders.empty()) return FolderResolver(reader, files).resolve(options.folders);
    ScanFolders folders;
    folders.roots =
        smartFolders(options.allUsers ? systemHomeFolders() : std::vector{systemHomeFolder()});
    return folders;
}

}  // namespace vestigo
