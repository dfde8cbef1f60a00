// The system's services for a program that takes a folder for the whole disk ("/").
#pragma once

#include <memory>
#include <string>

#include "platform/administrator.h"
#include "platform/bundle_information.h"
#include "platform/cleanup_trash.h"
#include "platform/code_signing.h"
#include "platform/directory_reader.h"
#include "platform/files.h"
#include "platform/lasting_processes.h"
#include "platform/links.h"
#include "platform/processes.h"
#include "platform/trash.h"

namespace vestigo {

// Each function wraps a real service. The result takes paths as they are on the made-up disk, whose
// root is the folder `disk`: an absolute path without links in it and without a trailing slash.

[[nodiscard]] std::shared_ptr<DirectoryReader> demoDirectoryReader(
    std::shared_ptr<DirectoryReader> real, std::string disk);

/// Reads the signatures in the disk's files. Nobody can make a signature of Apple or of the makers
/// that the demonstration invents, so for some of its items the answer is made up.
[[nodiscard]] std::shared_ptr<CodeSigning> demoCodeSigning(std::shared_ptr<CodeSigning> real,
                                                           std::string disk);

[[nodiscard]] std::shared_ptr<Files> demoFiles(std::shared_ptr<Files> real, std::string disk);
[[nodiscard]] std::shared_ptr<BundleReader> demoBundles(std::shared_ptr<BundleReader> real,
                                                        std::string disk);
[[nodiscard]] std::shared_ptr<Trash> demoTrash(std::shared_ptr<Trash> real, std::string disk);
[[nodiscard]] std::shared_ptr<Links> demoLinks(std::shared_ptr<Links> real, std::string disk);

/// Runs programs that lie on the disk.
[[nodiscard]] std::shared_ptr<LastingProcesses> demoLastingProcesses(
    std::shared_ptr<LastingProcesses> real, std::string disk);

/// The plan has the real paths, because the script runs in the real system's shell.
[[nodiscard]] std::shared_ptr<CleanupTrash> demoCleanupTrash(std::shared_ptr<CleanupTrash> real,
                                                             std::string disk);

/// Runs scripts that lie on the disk. Asks for no password and uses the user's own rights, which
/// suffice, since the user owns everything on the disk.
[[nodiscard]] std::shared_ptr<Administrator> demoAdministrator(std::shared_ptr<Processes> real,
                                                               std::string disk);

}  // namespace vestigo
