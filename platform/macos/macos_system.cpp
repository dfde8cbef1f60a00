// The services that need only the C library; those that need frameworks are in
// macos_framework_system.cpp.

#include "platform/macos/macos_system.h"

#include <array>
#include <climits>
#include <optional>
#include <utility>

#include <unistd.h>

#include "platform/administrator.h"
#include "platform/folder_cleanup_trash.h"
#include "platform/macos/macos_directory_reader.h"
#include "platform/posix/home_folder.h"
#include "platform/system.h"

namespace vestigo {

namespace {

/// The system creates this folder when it is asked for it.
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

std::shared_ptr<DirectoryReader> systemDirectoryReader() {
    return std::make_shared<MacOSDirectoryReader>();
}

std::vector<std::string> systemHomeFolders() {
    return homeFolders("/Users");
}

StandardFolders systemFolders() {
    return macOSStandardFolders();
}

std::shared_ptr<CleanupTrash> systemCleanupTrash(const StandardFolders& folders,
                                                 std::shared_ptr<Files> files) {
    return std::make_shared<FolderCleanupTrash>(folders.home + "/.Trash", std::move(files));
}

std::shared_ptr<Administrator> systemAdministrator(std::shared_ptr<Processes> processes,
                                                   LaunchedAdministrator::Arguments arguments) {
    return std::make_shared<LaunchedAdministrator>(std::move(processes), "/usr/bin/osascript",
                                                   std::move(arguments));
}

}  // namespace vestigo
