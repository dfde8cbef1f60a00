// A folder in the place of "/": what removals and reinstalls ask of the system, on that disk.
#pragma once

#include <memory>
#include <string>

#include "platform/administrator.h"
#include "platform/bundle_information.h"
#include "platform/cleanup_trash.h"
#include "platform/files.h"
#include "platform/lasting_processes.h"
#include "platform/links.h"
#include "platform/processes.h"
#include "platform/trash.h"

namespace vestigo {

/// Each answers for the items of `disk` (an absolute path without links in it and without a
/// trailing slash) under their paths on it.
[[nodiscard]] std::shared_ptr<Files> demoFiles(std::shared_ptr<Files> real, std::string disk);
[[nodiscard]] std::shared_ptr<BundleReader> demoBundles(std::shared_ptr<BundleReader> real,
                                                        std::string disk);
[[nodiscard]] std::shared_ptr<Trash> demoTrash(std::shared_ptr<Trash> real, std::string disk);
[[nodiscard]] std::shared_ptr<Links> demoLinks(std::shared_ptr<Links> real, std::string disk);

/// Runs the disk's own programs.
[[nodiscard]] std::shared_ptr<LastingProcesses> demoLastingProcesses(
    std::shared_ptr<LastingProcesses> real, std::string disk);

/// The script gets the paths by which it finds the items itself: no shell lives on the disk.
[[nodiscard]] std::shared_ptr<CleanupTrash> demoCleanupTrash(std::shared_ptr<CleanupTrash> real,
                                                             std::string disk);

/// Runs scripts of the disk with the user's own rights and asks nobody: all of it is theirs.
[[nodiscard]] std::shared_ptr<Administrator> demoAdministrator(std::shared_ptr<Processes> real,
                                                               std::string disk);

}  // namespace vestigo
