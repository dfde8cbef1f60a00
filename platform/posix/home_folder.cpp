#include "platform/posix/home_folder.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>

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

namespace {

/// The user's home in the user database.
std::optional<std::string> homeOf(uid_t user) {
    std::array<char, 16384> buffer{};
    passwd entry{};
    passwd* found = nullptr;
    ::getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found);
    if (!found || !found->pw_dir || found->pw_dir[0] != '/') return std::nullopt;
    return withoutTrailingSlash(found->pw_dir);
}

}  // namespace

std::string homeFolder() {
    if (auto home = folderFromEnvironment("HOME")) return *home;
    return homeOf(::getuid()).value_or("/");
}

std::vector<std::string> homeFolders(const std::string& parent) {
    std::vector<std::string> candidates;
    std::error_code error;
    std::filesystem::directory_iterator entries(parent, error);
    for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
        const auto name = entries->path().filename().string();
        std::error_code unknown;
        const bool folder = entries->is_directory(unknown);
        if (folder && !name.starts_with('.')) candidates.push_back(entries->path().string());
    }
    std::ranges::sort(candidates);
    if (auto home = homeOf(0)) candidates.push_back(std::move(*home));
    candidates.push_back(homeFolder());

    // Several paths may lead to one home, for example through a link; the first one stays.
    std::vector<std::string> homes;
    std::set<std::filesystem::path> known;
    for (auto& home : candidates) {
        const auto real = std::filesystem::canonical(home, error);
        if (known.insert(error ? std::filesystem::path(home) : real).second)
            homes.push_back(std::move(home));
    }
    return homes;
}

}  // namespace vestigo
