#include "platform/linux/linux_standard_folders.h"

#include <cstdlib>
#include <optional>

#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/home_folder.h"

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

}  // namespace vestigo
