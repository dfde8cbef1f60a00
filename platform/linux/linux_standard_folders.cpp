#include "platform/linux/linux_standard_folders.h"

#include <array>
#include <cstdlib>
#include <optional>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vestigo {
namespace {

std::string withoutTrailingSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

std::optional<std::string> folderFromEnvironment(const char* variable) {
    const char* const value = std::getenv(variable);
    if (!value || value[0] != '/') return std::nullopt;
    return withoutTrailingSlash(value);
}

std::string dataFolder(const std::string& home) {
    if (auto folder = folderFromEnvironment("XDG_DATA_HOME")) return *folder;
    return (home == "/" ? "" : home) + "/.local/share";
}

/// A real folder of ours that nobody else may enter.
bool isOursAlone(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == ::getuid() && (status.st_mode & 07777U) == 0700;
}

std::string privateFolder(const std::string& shared, const std::string& lastResort) {
    auto path = shared + "/vestigo-" + std::to_string(::getuid());
    // Whether it was there before is for the check to see.
    ::mkdir(path.c_str(), 0700);
    if (isOursAlone(path)) return path;
    path += "-XXXXXX";
    return ::mkdtemp(path.data()) ? path : lastResort;
}

}  // namespace

std::string linuxHomeFolder() {
    if (auto home = folderFromEnvironment("HOME")) return *home;
    std::array<char, 16384> buffer{};
    passwd entry{};
    passwd* found = nullptr;
    ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found);
    if (!found || !found->pw_dir || found->pw_dir[0] != '/') return "/";
    return withoutTrailingSlash(found->pw_dir);
}

StandardFolders linuxStandardFolders(const std::string& sharedTemporary) {
    StandardFolders folders;
    folders.home = linuxHomeFolder();
    folders.applicationSupport = dataFolder(folders.home);
    const auto runtime = folderFromEnvironment("XDG_RUNTIME_DIR");
    folders.temporary = runtime && isOursAlone(*runtime)
                            ? *runtime
                            : privateFolder(sharedTemporary, folders.applicationSupport);
    return folders;
}

}  // namespace vestigo
