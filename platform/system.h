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

/// `outOfMemory` is called on the thread of a task that ran out of memory, once the task has
/// released its memory. When it is empty, the program ends instead.
[[nodiscard]] std::shared_ptr<BackgroundTasks> systemTasks(std::function<void()> outOfMemory = {});
/// From now on, whenever a thread of this program runs out of memory, the program prints the line
/// on standard error and ends with exit status 1.
void endWhenOutOfMemory(std::string line);
[[nodiscard]] std::shared_ptr<DirectoryReader> systemDirectoryReader();
[[nodiscard]] std::shared_ptr<CodeSigning> systemCodeSigning();
[[nodiscard]] std::shared_ptr<BundleReader> systemBundles();
[[nodiscard]] std::shared_ptr<Files> systemFiles();
[[nodiscard]] std::shared_ptr<Links> systemLinks();
/// Each program occupies one of the tasks while it runs.
[[nodiscard]] std::shared_ptr<Processes> systemProcesses(std::shared_ptr<BackgroundTasks> tasks);
/// Each program occupies one of the tasks while it is followed.
[[nodiscard]] std::shared_ptr<LastingProcesses> systemLastingProcesses(
    std::shared_ptr<BackgroundTasks> tasks);

[[nodiscard]] StandardFolders systemFolders();
/// The user's home folder. Creates nothing.
[[nodiscard]] std::string systemHomeFolder();
/// The home folders of all users of this machine: those in the system's usual place, sorted by
/// name, then the administrator's and this user's own, each once. Never empty.
[[nodiscard]] std::vector<std::string> systemHomeFolders();

[[nodiscard]] std::shared_ptr<Trash> systemTrash(const StandardFolders& folders);
[[nodiscard]] std::shared_ptr<CleanupTrash> systemCleanupTrash(const StandardFolders& folders,
                                                               std::shared_ptr<Files> files);
[[nodiscard]] std::shared_ptr<OwnerAuthentication> systemOwnerAuthentication(
    std::shared_ptr<Processes> processes);

/// `arguments` are for a launcher that asks the user itself. A system that asks by other means does
/// not use them.
[[nodiscard]] std::shared_ptr<Administrator> systemAdministrator(
    std::shared_ptr<Processes> processes, LaunchedAdministrator::Arguments arguments);

}  // namespace vestigo
