#include "platform/posix/posix_files.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/descriptor.h"
#include "platform/posix/retrying.h"
#include "platform/posix/system_calls.h"

namespace vestigo {
namespace {

constexpr std::size_t largestFile = std::size_t{1} << 31U;

/// The size of an open regular file that is not too large to be read.
std::optional<std::size_t> readableSize(int file) {
    struct stat status {};
    if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    const auto size = static_cast<std::size_t>(status.st_size);
    return size <= largestFile ? std::optional(size) : std::nullopt;
}

std::optional<std::string> readAll(int file) {
    const auto size = readableSize(file);
    if (!size) return std::nullopt;
    std::string content;
    // One byte more than expected shows the end without another round.
    content.reserve(*size + 1);
    preferLargePages(content);
    content.resize(*size + 1);
    std::size_t used = 0;
    for (;;) {
        const auto count =
            retrying([&] { return ::read(file, content.data() + used, content.size() - used); });
        if (count < 0) return std::nullopt;
        used += static_cast<std::size_t>(count);
        if (count == 0) break;
        if (used < content.size()) continue;
        if (used > largestFile) return std::nullopt;
        content.resize(used * 2);
    }
    content.resize(used);
    return content;
}

bool writeAll(int file, std::string_view content) {
    while (!content.empty()) {
        const auto count = retrying([&] { return ::write(file, content.data(), content.size()); });
        if (count < 0) return false;
        content.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

/// Locked as long as it is open.
class OpenFolderLock : public FolderLock {
public:
    explicit OpenFolderLock(Descriptor folder) : folder_(std::move(folder)) {}

private:
    Descriptor folder_;
};

/// Folder and name of a path; the folder of a bare name is the current one.
std::pair<std::string, std::string> split(const std::string& path) {
    const auto slash = path.rfind('/');
    if (slash == std::string::npos) return {".", path};
    return {path.substr(0, slash + 1), path.substr(slash + 1)};
}

/// A name that nobody can foresee. Empty when the system gives no random bytes.
std::string unguessableName() {
    unsigned char bytes[16];
    if (::getentropy(bytes, sizeof bytes) != 0) return {};
    std::string name = ".vestigo-";
    for (const auto byte : bytes) {
        constexpr std::string_view digits = "0123456789abcdef";
        name += digits[byte >> 4U];
        name += digits[byte & 0xFU];
    }
    return name;
}

/// A new file beside `path` that takes its place once it is whole. Gone when it never does.
class Successor {
public:
    Successor(const std::string& path, Access access) : Successor(split(path), access) {}
    ~Successor() {
        if (!placed_ && file_) ::unlinkat(folder_.get(), temporary_.c_str(), 0);
    }
    Successor(const Successor&) = delete;
    Successor& operator=(const Successor&) = delete;

    /// Writes the content and waits until it is on the disk.
    [[nodiscard]] bool write(std::string_view content) {
        return file_ && writeAll(file_.get(), content) && flushToDisk(file_.get());
    }

    [[nodiscard]] bool replace() {
        const int folder = folder_.get();
        return placed(::renameat(folder, temporary_.c_str(), folder, name_.c_str()) == 0);
    }

    [[nodiscard]] bool placeIfFree() {
        const int folder = folder_.get();
        if (placed(renameIfFree(folder, temporary_, name_))) return true;
        // File systems without such a rename have links, which never overwrite either.
        return errno == ENOTSUP &&
               ::linkat(folder, temporary_.c_str(), folder, name_.c_str(), 0) == 0;
    }

private:
    Successor(std::pair<std::string, std::string> place, Access access)
        : name_(std::move(place.second)),
          temporary_(unguessableName()),
          folder_(retrying(
              [&] { return ::open(place.first.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); })),
          file_(create(access)) {}

    [[nodiscard]] int create(Access access) const {
        if (!folder_ || name_.empty() || temporary_.empty()) return -1;
        const mode_t mode = access == Access::ownerOnly ? 0600 : 0666;
        const int file = retrying([&] {
            return ::openat(folder_.get(), temporary_.c_str(),
                            O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
        });
        struct stat old {};
        if (file >= 0 && access == Access::usual &&
            ::fstatat(folder_.get(), name_.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(old.st_mode)) {
            ::fchmod(file, old.st_mode & 0777U);
        }
        return file;
    }

    bool placed(bool renamed) {
        placed_ = renamed;
        // The file is whole under either name, so a folder that cannot be flushed is no failure.
        if (placed_) static_cast<void>(flushToDisk(folder_.get()));
        return placed_;
    }

    std::string name_;
    std::string temporary_;
    Descriptor folder_;
    Descriptor file_;
    bool placed_ = false;
};

}  // namespace

std::optional<std::string> PosixFiles::read(const std::string& path) {
    // Not blocking: a FIFO would wait for a writer.
    const Descriptor file(retrying(
        [&] { return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); }));
    return file ? readAll(file.get()) : std::nullopt;
}

bool PosixFiles::replace(const std::string& path, std::string_view content, Access access) {
    Successor successor(path, access);
    return successor.write(content) && successor.replace();
}

bool PosixFiles::exists(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0;
}

bool PosixFiles::createFolders(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    return std::filesystem::is_directory(path, error);
}

bool PosixFiles::copy(const std::string& from, const std::string& to) {
    const auto content = read(from);
    if (!content) return false;
    Successor successor(to, Access::ownerOnly);
    return successor.write(*content) && successor.placeIfFree();
}

std::optional<ItemKind> PosixFiles::kind(const std::string& path) {
    const auto found = identity(path);
    return found ? std::optional(found->kind) : std::nullopt;
}

std::optional<ItemIdentity> PosixFiles::identity(const std::string& path) {
    return itemIdentity(AT_FDCWD, path);
}

std::optional<std::string> PosixFiles::resolved(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                           &std::free);
    return real ? std::optional<std::string>(real.get()) : std::nullopt;
}

std::optional<std::vector<std::string>> PosixFiles::names(const std::string& folder) {
    const Listing listing(::opendir(folder.c_str()));
    if (!listing) return std::nullopt;
    std::vector<std::string> result;
    for (;;) {
        errno = 0;
        const auto* const entry = ::readdir(listing.get());
        if (!entry) break;
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") result.emplace_back(name);
    }
    return errno == 0 ? std::optional(std::move(result)) : std::nullopt;
}

bool PosixFiles::isPrivateFolder(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == ::geteuid() && (status.st_mode & 077U) == 0;
}

std::unique_ptr<FolderLock> PosixFiles::lockFolder(const std::string& path) {
    Descriptor folder(
        retrying([&] { return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!folder || retrying([&] { return ::flock(folder.get(), LOCK_EX); }) != 0) return nullptr;
    return std::make_unique<OpenFolderLock>(std::move(folder));
}

bool PosixFiles::remove(const std::string& path) {
    return ::unlink(path.c_str()) == 0;
}

}  // namespace vestigo
