// Calls that POSIX lacks, or that each system has a better form of. They are implemented in each
// system's folder.
#pragma once

#include <optional>
#include <string>

#include <spawn.h>
#include <sys/stat.h>
#include <sys/types.h>

#include "platform/files.h"
#include "platform/posix/descriptor.h"
#include "platform/tasks.h"

namespace vestigo {

/// Opens as openat(2) does, but passes through no symbolic link at all. ENOSYS where the system
/// cannot do so in one call.
[[nodiscard]] int openThroughNoLink(int folder, const char* path, int flags);

/// Waits until everything written to the file is on the disk. False when the system cannot
/// guarantee that.
[[nodiscard]] bool flushToDisk(int file);

/// Renames an entry of an open folder to a name in another one, or in the same, and replaces
/// nothing. False with errno: EEXIST where the name is taken, ENOTSUP where the file system cannot
/// do this atomically.
[[nodiscard]] bool renameIfFree(int folder, const std::string& name, int newFolder,
                                const std::string& newName);

/// The identity of an entry of an open folder, or of any path below it; a link there is not
/// followed. With an empty path, the identity of the open item itself. Absent with errno.
[[nodiscard]] std::optional<ItemIdentity> itemIdentity(int folder, const std::string& path);

[[nodiscard]] constexpr EntryKind kindByMode(mode_t mode) {
    if (S_ISREG(mode)) return EntryKind::file;
    if (S_ISDIR(mode)) return EntryKind::folder;
    return S_ISLNK(mode) ? EntryKind::link : EntryKind::other;
}

/// Asks for large memory pages, which make a large buffer quicker to fill for the first time.
void preferLargePages(std::string& buffer);

/// Lets a child inherit no descriptors but those that `actions` give it. Returns a flag that the
/// child's attributes must contain.
[[nodiscard]] short passNoOtherDescriptors(posix_spawn_file_actions_t& actions);

/// A descriptor that poll(2) reports as readable once the child has ended, even if it had ended
/// before the call. Owns nothing where the system has no such descriptor.
[[nodiscard]] Descriptor endOfChild(pid_t child);

/// The change is permanent: a thread cannot return to the priority it had before.
void setPriorityOfThisThread(Priority priority);

}  // namespace vestigo
