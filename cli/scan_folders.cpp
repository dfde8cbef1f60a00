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

/// A folder as the user spells it, and as the file system does.
struct NamedFolder {
    std::string path;
    std::string real;
};

/// Whether a walk from `folder` comes to the folder `rest` below it. The walk's own rules decide,
/// with what the disk says: whoever names a hidden folder beside the one around it wants both.
bool comesTo(DirectoryReader& reader, const std::string& folder, std::string_view rest) {
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
    return comesTo(reader, outer.path, rest);
}

/// Without those that are walked from another one anyway. Of two names of one folder the first
/// stays.
std::vector<std::string> withoutOverlaps(DirectoryReader& reader,
                                         std::vector<NamedFolder> folders) {
    for (std::size_t i = folders.size(); i-- > 0;) {
        const auto& inner = folders[i];
        const auto covers = [&](const NamedFolder& outer) {
            const bool isLaterName = outer.real == inner.real && &outer >= &inner;
            return !isLaterName && isWalkedFrom(reader, outer, inner);
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

/// Takes the folders one by one, until one of them makes no sense.
class NamedFolders {
public:
    NamedFolders(DirectoryReader& reader, Files& files) : reader_(reader), files_(files) {}

    ScanFolders take(const std::vector<std::string>& names) {
        std::error_code error;
        const auto current = std::filesystem::current_path(error).string();
        for (const auto& name : names) {
            const auto path = absoluteLexically(name, current);
            if (!path.starts_with('/')) return refuse("the current folder is gone");
            errno = 0;
            if (reader_.open(path)) {
                // A path too long for one call is taken as it is spelled.
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

/// The smart folders, those of a home once for each home, in their place in the order.
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
    if (!options.folders.empty()) return NamedFolders(reader, files).take(options.folders);
    ScanFolders folders;
    folders.roots =
        smartFolders(options.allUsers ? systemHomeFolders() : std::vector{systemHomeFolder()});
    return folders;
}

}  // namespace vestigo
