// The services that need nothing but the C library; macos_framework_system.cpp has those that
// frameworks answer.
#include <utility>

#include "platform/folder_cleanup_trash.h"
#include "platform/launched_administrator.h"
#include "platform/macos/macos_directory_reader.h"
#include "platform/macos/macos_standard_folders.h"
#include "platform/posix/home_folder.h"
#include "platform/system.h"

namespace vestigo {

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
