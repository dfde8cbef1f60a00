#include "platform/posix/posix_files.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <span>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/paths.h"
#include "platform/posix/atomic_file.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/folder_access.h"
#include "platform/posix/system_calls.h"

namespace vestigo {
namespace {

constexpr std::size_t largestFile = std::size_t{1} << 31U;

/// Reads from the current position to the end; `expected` is a guess of the length. Absent with
/// errno.
std::optional<std::string> readRest(int file, std::size_t expected) {
    errno = EFBIG;
    if (expected > largestFile) return std::nullopt;
    std::string content;
    // Room for one byte more than expected lets the same read show the end.
    content.reserve(expected + 1);
    preferLargePages(content);
    content.resize(expected + 1);
    std::size_t used = 0;
    for (;;) {
        const auto count =
            retrying([&] { return ::read(file, content.data() + used, content.size() - used); });
        if (count < 0) return std::nullopt;
        used += static_cast<std::size_t>(count);
        if (count == 0) break;
        if (used < content.size()) continue;
        errno = EFBIG;
        if (used > largestFile) return std::nullopt;
        content.resize(used * 2);
    }
    content.resize(used);
    return content;
}

std::optional<std::string> readRegular(int file) {
    struct stat status {};
    if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return readRest(file, static_cast<std::size_t>(status.st_size));
}

FileContent contentOrErrno(std::optional<std::string> content) {
    if (content) return {std::move(*content), {}};
    return {{}, std::generic_category().message(errno)};
}

/// The reason why another user may have written the file. Null when only this user can have.
const char* whyNotOwn(const struct stat& status) {
    if (!S_ISREG(status.st_mode)) return "it is no regular file";
    if (status.st_uid != ::geteuid()) return "it belongs to another user";
    return (status.st_mode & 022U) != 0 ? "others may write it" : nullptr;
}

/// O_NONBLOCK keeps the open of a FIFO from waiting for a writer.
Descriptor openNonBlocking(const std::string& path) {
    return Descriptor(retrying(
        [&] { return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); }));
}

/// Holds the lock while the descriptor is open.
class OpenFolderLock : public FolderLock {
public:
    explicit OpenFolderLock(Descriptor folder) : folder_(std::move(folder)) {}

private:
    Descriptor folder_;
};

/// Splits a path into folder and name; the folder of a bare name is the current one.
std::pair<std::string, std::string> split(const std::string& path) {
    const std::string name(nameOf(path));
    return {name == path ? "." : path.substr(0, path.size() - name.size()), name};
}

Descriptor openFolder(const std::string& path) {
    return Descriptor(
        retrying([&] { return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
}

/// Writes a temporary file beside `path`, then moves it to `path`, replacing what is there or not.
class AtomicFileWriter {
public:
    AtomicFileWriter(const std::string& path, Access access)
        : folder_(openFolder(split(path).first)),
          name_(split(path).second),
          file_(folderWithoutOrphans(), access == Access::ownerOnly ? 0600 : 0666) {
        if (access == Access::usual) keepPermissions();
    }

    [[nodiscard]] bool write(std::string_view content) {
        return !name_.empty() && file_.write(content);
    }
    [[nodiscard]] bool replace() { return file_.replace(name_); }
    [[nodiscard]] bool placeIfFree() {
        return flushToDisk(file_.descriptor()) && file_.placeIfFree(folder_.get(), name_);
    }

private:
    /// Orphans go first, since they may be what fills the disk.
    [[nodiscard]] int folderWithoutOrphans() const {
        if (folder_) removeOrphans(folder_.get());
        return folder_.get();
    }
    void keepPermissions() const {
        struct stat old {};
        if (file_ && ::fstatat(folder_.get(), name_.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(old.st_mode)) {
            ::fchmod(file_.descriptor(), old.st_mode & 0777U);
        }
    }

    Descriptor folder_;
    std::string name_;
    AtomicFile file_;
};

}  // namespace

std::optional<std::string> PosixFiles::read(const std::string& path) {
    const auto file = openNonBlocking(path);
    return file ? readRegular(file.get()) : std::nullopt;
}

FileContent PosixFiles::readToEnd(const std::string& path) {
    constexpr std::size_t usualPipe = std::size_t{1} << 16U;
    const Descriptor file(
        retrying([&] { return ::open(path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC); }));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0) return contentOrErrno(std::nullopt);
    const auto size = static_cast<std::size_t>(status.st_size);
    return contentOrErrno(readRest(file.get(), S_ISREG(status.st_mode) ? size : usualPipe));
}

FileContent PosixFiles::readOwn(const std::string& path, std::size_t most) {
    const auto file = openNonBlocking(path);
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0) return contentOrErrno(std::nullopt);
    if (const auto* const reason = whyNotOwn(status)) return {{}, reason};
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size <= most) return contentOrErrno(readRest(file.get(), size));
    std::string start(most, '\0');
    const auto count = readStart(file.get(), std::as_writable_bytes(std::span(start)));
    if (!count) return contentOrErrno(std::nullopt);
    start.resize(*count);
    return {std::move(start), {}};
}

bool PosixFiles::replace(const std::string& path, std::string_view content, Access access) {
    AtomicFileWriter writer(path, access);
    return writer.write(content) && writer.replace();
}

bool PosixFiles::exists(const std::string& path) {
    struct stat status {};
    return retrying([&] { return ::stat(path.c_str(), &status); }) == 0;
}

bool PosixFiles::createFolders(const std::string& path) {
    std::error_code error;
    do {
        std::filesystem::create_directories(path, error);
    } while (error == std::errc::interrupted);
    struct stat status {};
    return retrying([&] { return ::stat(path.c_str(), &status); }) == 0 && S_ISDIR(status.st_mode);
}

bool PosixFiles::copy(const std::string& from, const std::string& to) {
    const auto content = read(from);
    if (!content) return false;
    AtomicFileWriter writer(to, Access::ownerOnly);
    return writer.write(*content) && writer.placeIfFree();
}

std::optional<EntryKind> PosixFiles::kind(const std::string& path) {
    const auto found = identity(path);
    return found ? std::optional(found->kind) : std::nullopt;
}

std::optional<ItemIdentity> PosixFiles::identity(const std::string& path) {
    return itemIdentity(AT_FDCWD, path);
}

std::optional<std::string> PosixFiles::resolved(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(
        retrying([&] { return ::realpath(path.c_str(), nullptr); }), &std::free);
    return real ? std::optional<std::string>(real.get()) : std::nullopt;
}

std::optional<std::vector<std::string>> PosixFiles::names(const std::string& folder) {
    const auto open = openFolder(folder);
    return open ? namesIn(open.get()) : std::nullopt;
}

bool PosixFiles::isPrivateFolder(const std::string& path) {
    struct stat status {};
    return retrying([&] { return ::lstat(path.c_str(), &status); }) == 0 &&
           S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() && (status.st_mode & 077U) == 0;
}

std::unique_ptr<FolderLock> PosixFiles::lockFolder(const std::string& path,
                                                   const CancelFlag& cancel) {
    constexpr std::chrono::milliseconds pollInterval{50};
    auto folder = openFolder(path);
    if (!folder) return nullptr;
    // A flock that blocks in the kernel could not be cancelled.
    while (retrying([&] { return ::flock(folder.get(), LOCK_EX | LOCK_NB); }) != 0) {
        if (errno != EWOULDBLOCK || cancel.cancelled()) return nullptr;
        std::this_thread::sleep_for(pollInterval);
    }
    return std::make_unique<OpenFolderLock>(std::move(folder));
}

bool PosixFiles::remove(const std::string& path) {
    return retrying([&] { return ::unlink(path.c_str()); }) == 0;
}

}  // namespace vestigo
