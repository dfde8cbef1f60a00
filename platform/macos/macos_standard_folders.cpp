#include "platform/macos/macos_standard_folders.h"

#include <array>
#include <climits>
#include <cstdlib>
#include <optional>

#include <pwd.h>
#include <unistd.h>

namespace vestigo {
namespace {

std::string withoutTrailingSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

/// The system makes it when it is asked for.
std::optional<std::string> temporaryFolderOfUser() {
    std::array<char, PATH_MAX> path{};
    const auto length = ::confstr(_CS_DARWIN_USER_TEMP_DIR, path.data(), path.size());
    if (length == 0 || length > path.size() || path[0] != '/') return std::nullopt;
    return withoutTrailingSlash(path.data());
}

}  // namespace

std::string macOSHomeFolder() {
    const char* const home = std::getenv("HOME");
    if (home && home[0] == '/') return withoutTrailingSlash(home);
    std::array<char, 16384> buffer{};
    passwd entry{};
    passwd* found = nullptr;
    ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found);
    if (!found || !found->pw_dir || found->pw_dir[0] != '/') return "/";
    return withoutTrailingSlash(found->pw_dir);
}

StandardFolders macOSStandardFolders() {
    StandardFolders folders;
    folders.home = macOSHomeFolder();
    folders.applicationSupport =
        (folders.home == "/" ? "" : folders.home) + "/Library/Application Support";
    folders.temporary = temporaryFolderOfUser().value_or(folders.applicationSupport);
    return folders;
}

}  // namespace vestigo
