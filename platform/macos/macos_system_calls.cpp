#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <pthread.h>
#include <pthread/qos.h>
#include <sys/event.h>
#include <unistd.h>

#include "platform/posix/descriptor.h"
#include "platform/posix/system_calls.h"

namespace vestigo {

int openThroughNoLink(int folder, const char* path, int flags) {
    return ::openat(folder, path, flags | O_NOFOLLOW_ANY);
}

/// On macOS fsync(2) leaves the bytes in the drive's own memory. Some volumes do not know the full
/// flush; for them fsync has to do.
bool flushToDisk(int file) {
    return retrying([file] { return ::fcntl(file, F_FULLFSYNC); }) == 0 ||
           retrying([file] { return ::fsync(file); }) == 0;
}

bool renameIfFree(int folder, const std::string& name, int newFolder, const std::string& newName) {
    if (retrying([&] {
            return ::renameatx_np(folder, name.c_str(), newFolder, newName.c_str(), RENAME_EXCL);
        }) == 0) {
        return true;
    }
    if (errno == EINVAL) errno = ENOTSUP;
    return false;
}

std::optional<ItemIdentity> itemIdentity(int folder, const std::string& path) {
    struct stat status {};
    const bool itself = path.empty() && folder != AT_FDCWD;
    const auto look = [&] {
        return itself ? ::fstat(folder, &status)
                      : ::fstatat(folder, path.c_str(), &status, AT_SYMLINK_NOFOLLOW);
    };
    if (retrying(look) != 0) return std::nullopt;
    constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
    const auto& made = status.st_birthtimespec;
    return ItemIdentity{.device = static_cast<std::uint64_t>(status.st_dev),
                        .number = status.st_ino,
                        .kind = kindByMode(status.st_mode),
                        .created = made.tv_sec * nanosecondsPerSecond + made.tv_nsec};
}

/// The system does this by itself.
void preferLargePages(std::string& /*buffer*/) {}

short passNoOtherDescriptors(posix_spawn_file_actions_t& /*actions*/) {
    return POSIX_SPAWN_CLOEXEC_DEFAULT;
}

Descriptor endOfChild(pid_t child) {
    Descriptor queue(::kqueue());
    const auto add = [&queue](const auto& changes) {
        return ::kevent(queue.get(), changes.data(), static_cast<int>(changes.size()), nullptr, 0,
                        nullptr) == 0;
    };
    std::array<struct kevent, 1> end{};
    EV_SET(end.data(), static_cast<uintptr_t>(child), EVFILT_PROC, EV_ADD, NOTE_EXIT, 0, nullptr);
    if (!queue || add(end)) return queue;
    if (errno != ESRCH) return {};
    // The queue does not report a child that has already ended, so it gets an event that has been
    // triggered already.
    std::array<struct kevent, 2> already{};
    EV_SET(&already[0], 0, EVFILT_USER, EV_ADD, 0, 0, nullptr);
    EV_SET(&already[1], 0, EVFILT_USER, 0, NOTE_TRIGGER, 0, nullptr);
    return add(already) ? std::move(queue) : Descriptor();
}

void setPriorityOfThisThread(Priority priority) {
    const bool utility = priority == Priority::utility;
    ::pthread_set_qos_class_self_np(utility ? QOS_CLASS_UTILITY : QOS_CLASS_USER_INITIATED, 0);
}

/// On macOS a new thread does not inherit the quality of service of its creator.
Job atPriorityOfThisThread(Job job) {
    return [quality = ::qos_class_self(), job = std::move(job)] {
        ::pthread_set_qos_class_self_np(quality, 0);
        job();
    };
}

}  // namespace vestigo
