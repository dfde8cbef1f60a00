#include <string>
#include <utility>
#include <vector>

#include "platform/linux/linux_bundle_reader.h"
#include "platform/linux/linux_cleanup_trash.h"
#include "platform/linux/linux_code_signing.h"
#include "platform/linux/linux_directory_reader.h"
#include "platform/linux/linux_owner_authentication.h"
#include "platform/linux/linux_standard_folders.h"
#include "platform/linux/linux_trash.h"
#include "platform/posix/home_folder.h"
#include "platform/system.h"

namespace vestigo {
namespace {

std::string homeTrash(const StandardFolders& folders) {
    return folders.applicationSupport + "/Trash";
}

}  // namespace

std::shared_ptr<DirectoryReader> systemDirectoryReader() {
    return std::make_shared<LinuxDirectoryReader>();
}

std::shared_ptr<CodeSigning> systemCodeSigning() {
    return std::make_shared<LinuxCodeSigning>();
}

std::shared_ptr<BundleReader> systemBundles() {
    return std::make_shared<LinuxBundleReader>();
}

std::vector<std::string> systemHomeFolders() {
    return homeFolders("/home");
}

StandardFolders systemFolders() {
    return linuxStandardFolders();
}

std::shared_ptr<Trash> systemTrash(const StandardFolders& folders) {
    return std::make_shared<LinuxTrash>(homeTrash(folders));
}

std::shared_ptr<CleanupTrash> systemCleanupTrash(const StandardFolders& folders,
                                                 std::shared_ptr<Files> /*files*/) {
    return std::make_shared<LinuxCleanupTrash>(homeTrash(folders));
}

std::shared_ptr<OwnerAuthentication> systemOwnerAuthentication(
    std::shared_ptr<Processes> processes) {
    return std::make_shared<LinuxOwnerAuthentication>(std::move(processes));
}

/// PolicyKit asks for the password and then runs the shell itself. The status is 126 when the user
/// has dismissed the question, 127 when the user was refused or could not be asked.
std::shared_ptr<Administrator> systemAdministrator(std::shared_ptr<Processes> processes,
                                                   LaunchedAdministrator::Arguments /*arguments*/) {
    return std::make_shared<LaunchedAdministrator>(
        std::move(processes), "/usr/bin/pkexec", [](const std::string& script) {
            return std::vector<std::string>{"/bin/sh", script};
        });
}

}  // namespace vestigo
