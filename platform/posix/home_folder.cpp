#include "platform/posix/home_folder.h"

#include <array>
#include <cstdlib>

#include <pwd.h>
#include <unistd.h>

namespace vestigo {

std::string withoutTrailingSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

std::optional<std::string> folderFromEnvironment(const char* variable) {
    const char* const value = std::getenv(variable);
    if (!value || value[0] != '/') return std::nullopt;
    return withoutTrailingSlash(value);
}

std::string homeFolder() {
    if (auto home = folderFromEnvironment("HOME")) return *home;
    std::array<char, 16384> buffer{};
    passwd entry{};
    passwd* found = nullptr;
    ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found);
    if (!found || !found->pw_dir || found->pw_dir[0] != '/') return "/";
    return withoutTrailingSlash(found->pw_dir);
}

}  // namespace vestigo
