// The services that need nothing but the C library; macos_framework_system.cpp has the others.
#include <utility>

#include "platform/folder_cleanup_trash.h"
#include "platform/launched_administrator.h"
#include "platform/macos/macos_directory_reader.h"
#include "platform/macos/macos_standard_folders.h"
#include "platform/posix/posix_files.h"
#include "platform/posix/posix_links.h"
#include "platform/posix/posix_processes.h"
#include "platform/posix/thread_tasks.h"
#include "platform/system.h"

namespace vestigo {

std::shared_ptr<BackgroundTasks> systemTasks() {
    return std::make_shared<ThreadTasks>();
}

std::shared_ptr<DirectoryReader> systemDirectoryReader() {
    return std::make_shared<MacOSDirectoryReader>();
}

std::shared_ptr<Files> systemFiles() {
    return std::make_shared<PosixFiles>();
}

std::shared_ptr<Links> systemLinks() {
    return std::make_shared<PosixLinks>();
}

std::shared_ptr<Processes> systemProcesses(std::shared_ptr<BackgroundTasks> tasks) {
    return std::make_shared<PosixProcesses>(std::move(tasks));
}

StandardFolders systemFolders() {
    return macOSStandardFolders();
}

std::string systemHomeFolder() {
    return macOSHomeFolder();
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
