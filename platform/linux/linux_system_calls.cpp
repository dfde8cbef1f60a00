#include <cerrno>
#include <cstdint>
#include <cstdio>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/posix/descriptor.h"
#include "platform/posix/system_calls.h"

namespace vestigo {
namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

}  // namespace

int openThroughNoLink(int folder, const char* path, int flags) {
    struct open_how how {};
    how.flags = static_cast<std::uint64_t>(flags);
    how.resolve = RESOLVE_NO_SYMLINKS;
    const auto result = ::syscall(SYS_openat2, folder, path, &how, sizeof how);
    // Some containers answer EPERM to calls that they do not know.
    if (result < 0 && errno == EPERM) errno = ENOSYS;
    return static_cast<int>(result);
}

bool flushToDisk(int file) {
    return retrying([file] { return ::fsync(file); }) == 0;
}

bool renameIfFree(int folder, const std::string& name, int newFolder, const std::string& newName) {
    if (retrying([&] {
            return ::renameat2(folder, name.c_str(), newFolder, newName.c_str(), RENAME_NOREPLACE);
        }) == 0) {
        return true;
    }
    // EINVAL: the file system does not know the flag. ENOSYS: the kernel does not know the call.
    if (errno == EINVAL || errno == ENOSYS) errno = ENOTSUP;
    return false;
}

std::optional<ItemIdentity> itemIdentity(int folder, const std::string& path) {
    const int itself = path.empty() && folder != AT_FDCWD ? AT_EMPTY_PATH : 0;
    const int look = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | itself;
    constexpr unsigned wanted = STATX_TYPE | STATX_INO | STATX_BTIME;
    struct statx status {};
    if (retrying([&] { return ::statx(folder, path.c_str(), look, wanted, &status); }) != 0) {
        return std::nullopt;
    }
    ItemIdentity item{.device = std::uint64_t{status.stx_dev_major} << 32U | status.stx_dev_minor,
                      .number = status.stx_ino,
                      .kind = kindByMode(status.stx_mode)};
    if ((status.stx_mask & STATX_BTIME) != 0) {
        item.created = status.stx_btime.tv_sec * nanosecondsPerSecond + status.stx_btime.tv_nsec;
    }
    return item;
}

void preferLargePages(std::string& buffer) {
    constexpr std::size_t much = std::size_t{4} << 20U;
    if (buffer.capacity() < much) return;
    const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const auto begin = (reinterpret_cast<std::uintptr_t>(buffer.data()) + page - 1) / page * page;
    const auto end = reinterpret_cast<std::uintptr_t>(buffer.data()) + buffer.capacity();
    ::madvise(reinterpret_cast<void*>(begin), (end - begin) / page * page, MADV_HUGEPAGE);
}

short passNoOtherDescriptors(posix_spawn_file_actions_t& actions) {
    ::posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    return 0;
}

Descriptor endOfChild(pid_t child) {
    return Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, child, 0)));
}

void setPriorityOfThisThread(Priority priority) {
    if (priority != Priority::utility) return;
    // On Linux both priorities belong to the thread, not to the process.
    constexpr int utilityNice = 10;
    constexpr int processClass = 1;                // IOPRIO_WHO_PROCESS
    constexpr int lowestBestEffort = 2 << 13 | 7;  // IOPRIO_CLASS_BE, level 7
    ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), utilityNice);
    ::syscall(SYS_ioprio_set, processClass, 0, lowestBestEffort);
}

/// On Linux a new thread inherits the priority of its creator.
Job atPriorityOfThisThread(Job job) {
    return job;
}

}  // namespace vestigo
