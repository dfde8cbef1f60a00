#include "platform/linux/trash_folder.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/trash_names.h"

namespace vestigo {
namespace {

constexpr std::string_view infoEnding = ".trashinfo";
constexpr std::size_t longestName = 255 - infoEnding.size();
constexpr unsigned mostAttempts = 100'000;
constexpr int asFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

/// As in a URL; the bytes, whatever they stand for.
std::string percentEncoded(std::string_view path) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    constexpr std::string_view plain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    std::string text;
    for (const char letter : path) {
        if (plain.find(letter) != plain.npos) {
            text += letter;
            continue;
        }
        const auto byte = static_cast<unsigned char>(letter);
        ((text += '%') += digits[byte >> 4U]) += digits[byte & 0xFU];
    }
    return text;
}

std::string localTime() {
    const auto now = std::time(nullptr);
    std::tm local{};
    std::array<char, 32> text{};
    if (!::localtime_r(&now, &local)) return "1970-01-01T00:00:00";
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &local)};
}

std::string infoText(const std::string& origin) {
    return "[Trash Info]\nPath=" + percentEncoded(origin) + "\nDeletionDate=" + localTime() + "\n";
}

std::string infoName(const std::string& taken) {
    return taken + std::string(infoEnding);
}

/// A real folder of this user in an open one, made when missing. Owns nothing, with errno, where it
/// is anything else.
Descriptor ownFolderIn(int folder, const char* name) {
    if (::mkdirat(folder, name, 0700) != 0 && errno != EEXIST) return {};
    Descriptor own(::openat(folder, name, asFolder | O_NOFOLLOW));
    struct stat status {};
    if (own && ::fstat(own.get(), &status) == 0 && status.st_uid == ::geteuid()) return own;
    if (own) errno = EACCES;
    return {};
}

bool writeAll(int file, std::string_view text) {
    while (!text.empty()) {
        const auto count = ::write(file, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return ::fsync(file) == 0;
}

}  // namespace

std::optional<TrashFolder> TrashFolder::openHome(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) return std::nullopt;
    return layOut(Descriptor(::open(path.c_str(), asFolder)));
}

std::optional<TrashFolder> TrashFolder::openIn(int folder, const std::string& name) {
    return layOut(ownFolderIn(folder, name.c_str()));
}

std::optional<TrashFolder> TrashFolder::layOut(Descriptor folder) {
    if (!folder) return std::nullopt;
    TrashFolder trash;
    trash.files_ = ownFolderIn(folder.get(), "files");
    if (!trash.files_) return std::nullopt;
    trash.info_ = ownFolderIn(folder.get(), "info");
    if (!trash.info_) return std::nullopt;
    return trash;
}

std::optional<std::string> TrashFolder::reserve(const std::string& itemName,
                                                const std::string& origin) const {
    const auto text = infoText(origin);
    for (unsigned attempt = 1; attempt <= mostAttempts; ++attempt) {
        auto taken = trashName(itemName, attempt, longestName);
        if (holds(taken)) continue;
        if (writeInfo(taken, text)) return taken;
        if (errno != EEXIST) return std::nullopt;
    }
    errno = EEXIST;
    return std::nullopt;
}

bool TrashFolder::writeInfo(const std::string& taken, const std::string& text) const {
    const Descriptor file(::openat(info_.get(), infoName(taken).c_str(),
                                   O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file) return false;
    if (writeAll(file.get(), text)) return true;
    const int error = errno;
    release(taken);
    // Never "taken already": whatever this is, another name does not help.
    errno = error;
    return false;
}

int TrashFolder::takeIn(int folder, const std::string& name, const std::string& taken) const {
    const auto* const from = name.c_str();
    const auto* const to = taken.c_str();
    if (::renameat2(folder, from, files_.get(), to, RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    // File systems without such a rename: the name is reserved, so whoever keeps to the rules
    // leaves it alone.
    if (holds(taken)) return EEXIST;
    return ::renameat(folder, from, files_.get(), to) == 0 ? 0 : errno;
}

void TrashFolder::release(const std::string& taken) const {
    ::unlinkat(info_.get(), infoName(taken).c_str(), 0);
}

bool TrashFolder::holds(const std::string& taken) const {
    struct stat status {};
    return ::fstatat(files_.get(), taken.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

}  // namespace vestigo
