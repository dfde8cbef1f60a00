#include "platform/macos/macos_standard_folders.h"

#include <array>
#include <climits>
#include <optional>

#include <unistd.h>

#include "platform/posix/home_folder.h"

namespace vestigo {
namespace {

/// The system makes it when it is asked for.
std::optional<std::string> temporaryFolderOfUser() {
    std::array<char, PATH_MAX> path{};
    const auto length = ::confstr(_CS_DARWIN_USER_TEMP_DIR, path.data(), path.size());
    if (length == 0 || length > path.size() || path[0] != '/') return std::nullopt;
    return withoutTrailingSlash(path.data());
}

}  // namespace

StandardFolders macOSStandardFolders() {
    StandardFolders folders;
    folders.home = homeFolder();
    const auto library = (folders.home == "/" ? "" : folders.home) + "/Library";
    folders.applicationSupport = library + "/Application Support";
    folders.caches = library + "/Caches";
    folders.temporary = temporaryFolderOfUser().value_or(folders.applicationSupport);
    return folders;
}

}  // namespace vestigo
