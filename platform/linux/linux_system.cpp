#include "platform/linux/linux_system.h"

#include <cstdlib>
#include <optional>
#include <utility>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/linux_bundle_reader.h"
#include "platform/linux/linux_code_signing.h"
#include "platform/linux/linux_directory_reader.h"
#include "platform/linux/linux_owner_authentication.h"
#include "platform/linux/linux_trash.h"
#include "platform/posix/home_folder.h"
#include "platform/system.h"

namespace vestigo {
namespace {

std::string folderOrBelow(const char* variable, const std::string& home, const char* usual) {
    if (auto folder = folderFromEnvironment(variable)) return *folder;
    return (home == "/" ? "" : home) + usual;
}

/// Whether the path is a real folder of this user that nobody else may enter.
bool isOursAlone(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == ::getuid() && (status.st_mode & 07777U) == 0700;
}

std::string privateFolder(const std::string& shared, const std::string& lastResort) {
    auto path = shared + "/vestigo-" + std::to_string(::getuid());
    // If it existed before, the next line checks whose it is.
    ::mkdir(path.c_str(), 0700);
    if (isOursAlone(path)) return path;
    path += "-XXXXXX";
    return ::mkdtemp(path.data()) ? path : lastResort;
}

std::string homeTrash(const StandardFolders& folders) {
    return folders.applicationSupport + "/Trash";
}

}  // namespace

StandardFolders linuxStandardFolders(const std::string& sharedTemporary) {
    StandardFolders folders;
    folders.home = homeFolder();
    folders.applicationSupport = folderOrBelow("XDG_DATA_HOME", folders.home, "/.local/share");
    folders.caches = folderOrBelow("XDG_CACHE_HOME", folders.home, "/.cache");
    const auto runtime = folderFromEnvironment("XDG_RUNTIME_DIR");
    folders.temporary = runtime && isOursAlone(*runtime)
                            ? *runtime
                            : privateFolder(sharedTemporary, folders.applicationSupport);
    return folders;
}

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
