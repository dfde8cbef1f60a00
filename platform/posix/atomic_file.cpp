// A file is written under a temporary name and renamed when it is complete, so that every reader
// sees the old or the new content, never a part. Two rules make this safe.
//
// First, the content is on the disk before the rename. Otherwise the file system may write the new
// name to the disk first, and a power failure then leaves an empty file.
//
// Second, whoever holds the lock (flock) on a temporary file owns it. removeOrphans() removes only
// files whose lock it gets. If it removes a file that its creator has not locked yet, the creator
// notices the missing name and starts again.
//
// A process number in the name would not do in place of the lock: the number may belong to another
// process by now, and means nothing on a folder that several machines share.
#include "platform/posix/atomic_file.h"

#include <cerrno>
#include <optional>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/descriptor.h"
#include "platform/posix/folder_access.h"
#include "platform/posix/system_calls.h"

namespace vestigo {
namespace {

constexpr std::string_view prefix = ".vestigo-";
constexpr std::string_view digits = "0123456789abcdef";
constexpr std::size_t randomBytes = 16;

bool writeAll(int file, std::string_view content) {
    while (!content.empty()) {
        const auto count = retrying([&] { return ::write(file, content.data(), content.size()); });
        if (count < 0) return false;
        content.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

bool unlinkIn(int folder, const std::string& name) {
    return retrying([&] { return ::unlinkat(folder, name.c_str(), 0); }) == 0;
}

/// Whether the open file is a regular one that belongs to this user.
bool isOwnFile(int file) {
    struct stat status {};
    return retrying([&] { return ::fstat(file, &status); }) == 0 && S_ISREG(status.st_mode) &&
           status.st_uid == ::geteuid();
}

void removeIfOrphan(int folder, const std::string& name) {
    // Locks on network file systems need write access. O_NONBLOCK keeps a FIFO from blocking.
    const Descriptor file(retrying([&] {
        return ::openat(folder, name.c_str(),
                        O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    }));
    if (!file || !isOwnFile(file.get())) return;
    if (retrying([&] { return ::flock(file.get(), LOCK_EX | LOCK_NB); }) != 0) return;
    // Its owner may have renamed it since the listing. Then nothing has this name any more, because
    // no name is used twice, and nothing is removed.
    static_cast<void>(unlinkIn(folder, name));
}

}  // namespace

std::string unguessableName() {
    unsigned char bytes[randomBytes];
    if (retrying([&] { return ::getentropy(bytes, sizeof bytes); }) != 0) return {};
    std::string name(prefix);
    for (const auto byte : bytes) (name += digits[byte >> 4U]) += digits[byte & 0xFU];
    return name;
}

bool isUnguessableName(std::string_view name) {
    return name.size() == prefix.size() + 2 * randomBytes && name.starts_with(prefix) &&
           name.find_first_not_of(digits, prefix.size()) == name.npos;
}

bool isOpenAs(int file, int folder, const std::string& name) {
    struct stat open {};
    struct stat named {};
    return retrying([&] { return ::fstat(file, &open); }) == 0 &&
           retrying([&] { return ::fstatat(folder, name.c_str(), &named, AT_SYMLINK_NOFOLLOW); }) ==
               0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

void removeOrphans(int folder) {
    for (const auto& name : namesIn(folder).value_or(std::vector<std::string>())) {
        if (isUnguessableName(name)) removeIfOrphan(folder, name);
    }
}

AtomicFile::AtomicFile(int folder, mode_t mode) : folder_(folder) {
    create(mode);
}

AtomicFile::~AtomicFile() {
    if (!placed_ && file_) static_cast<void>(unlinkIn(folder_, temporary_));
}

/// Another process that removes orphans may remove the file before it is locked. Then it has no
/// name left and a new one is created.
void AtomicFile::create(mode_t mode) {
    struct stat status {};
    do {
        temporary_ = unguessableName();
        if (temporary_.empty()) return;
        file_ = Descriptor(retrying([&] {
            return ::openat(folder_, temporary_.c_str(),
                            O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
        }));
        // Without locks on this file system nobody removes orphans either, so a failure is
        // harmless.
        if (file_) static_cast<void>(retrying([&] { return ::flock(file_.get(), LOCK_EX); }));
    } while (file_ && retrying([&] { return ::fstat(file_.get(), &status); }) == 0 &&
             status.st_nlink == 0);
}

bool AtomicFile::write(std::string_view content) {
    return file_ && writeAll(file_.get(), content);
}

bool AtomicFile::replace(const std::string& name) {
    placed_ = file_ && flushToDisk(file_.get()) && renamedTo(folder_, name);
    // The file is complete under either name, so it is no failure if the folder cannot be flushed.
    if (placed_) static_cast<void>(flushToDisk(folder_));
    return placed_;
}

bool AtomicFile::placeIfFree(int folder, const std::string& name) {
    if (!file_) return false;
    placed_ = renameIfFree(folder_, temporary_, folder, name);
    if (!placed_ && errno == ENOTSUP) placed_ = linkedAs(folder, name);
    if (!placed_ && (errno == EPERM || errno == ENOTSUP)) placed_ = renamedIfFree(folder, name);
    return placed_;
}

bool AtomicFile::renamedTo(int folder, const std::string& name) const {
    return retrying(
               [&] { return ::renameat(folder_, temporary_.c_str(), folder, name.c_str()); }) == 0;
}

/// A hard link never replaces anything, like the exclusive rename that this file system lacks.
bool AtomicFile::linkedAs(int folder, const std::string& name) const {
    if (retrying([&] { return ::linkat(folder_, temporary_.c_str(), folder, name.c_str(), 0); }) !=
        0) {
        return false;
    }
    static_cast<void>(unlinkIn(folder_, temporary_));
    return true;
}

/// For file systems without hard links: takes the name with an empty file, then replaces that.
bool AtomicFile::renamedIfFree(int folder, const std::string& name) const {
    const Descriptor taken(retrying([&] {
        return ::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                        0600);
    }));
    if (!taken) return false;
    if (renamedTo(folder, name)) return true;
    const int error = errno;
    static_cast<void>(unlinkIn(folder, name));
    errno = error;
    return false;
}

}  // namespace vestigo
