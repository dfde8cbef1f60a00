// The services of the system that the program is built for.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/administrator.h"
#include "platform/bundle_information.h"
#include "platform/cleanup_trash.h"
#include "platform/code_signing.h"
#include "platform/directory_reader.h"
#include "platform/files.h"
#include "platform/lasting_processes.h"
#include "platform/links.h"
#include "platform/owner_authentication.h"
#include "platform/processes.h"
#include "platform/standard_folders.h"
#include "platform/tasks.h"
#include "platform/trash.h"

namespace vestigo {

/// `outOfMemory` is called on the thread of a task that ran out of memory, once the task has let go
/// of what it had. Empty: the program then ends.
[[nodiscard]] std::shared_ptr<BackgroundTasks> systemTasks(std::function<void()> outOfMemory = {});
/// From now on, when this program runs out of memory in whatever thread, it prints the line on
/// standard error and ends with exit status 1.
void endWhenOutOfMemory(std::string line);
[[nodiscard]] std::shared_ptr<DirectoryReader> systemDirectoryReader();
[[nodiscard]] std::shared_ptr<CodeSigning> systemCodeSigning();
[[nodiscard]] std::shared_ptr<BundleReader> systemBundles();
[[nodiscard]] std::shared_ptr<Files> systemFiles();
[[nodiscard]] std::shared_ptr<Links> systemLinks();
/// Each program that runs is one of the tasks.
[[nodiscard]] std::shared_ptr<Processes> systemProcesses(std::shared_ptr<BackgroundTasks> tasks);
/// Each program that is followed is one of the tasks.
[[nodiscard]] std::shared_ptr<LastingProcesses> systemLastingProcesses(
    std::shared_ptr<BackgroundTasks> tasks);

[[nodiscard]] StandardFolders systemFolders();
/// Only the home folder; touches nothing.
[[nodiscard]] std::string systemHomeFolder();
/// The home folders of all users of this machine: those where the system keeps them, by name, the
/// administrator's and this user's own, each once. Never empty.
[[nodiscard]] std::vector<std::string> systemHomeFolders();

[[nodiscard]] std::shared_ptr<Trash> systemTrash(const StandardFolders& folders);
[[nodiscard]] std::shared_ptr<CleanupTrash> systemCleanupTrash(const StandardFolders& folders,
                                                               std::shared_ptr<Files> files);
[[nodiscard]] std::shared_ptr<OwnerAuthentication> systemOwnerAuthentication(
    std::shared_ptr<Processes> processes);

/// What the system's launcher is given to run a script as an administrator, where it asks by
/// itself.
[[nodiscard]] std::shared_ptr<Administrator> systemAdministrator(
    std::shared_ptr<Processes> processes, LaunchedAdministrator::Arguments arguments);

}  // namespace vestigo
