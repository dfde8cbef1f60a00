// What POSIX leaves open or says less well than the systems themselves. Each system's folder has
// its own form of these.
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

/// Waits until what was written lies on the disk. False when it may not.
[[nodiscard]] bool flushToDisk(int file);

/// Moves an entry of an open folder to a name in another one, or in the same, and replaces nothing.
/// False with errno: EEXIST where the name is taken, ENOTSUP where the file system knows no such
/// rename.
[[nodiscard]] bool renameIfFree(int folder, const std::string& name, int newFolder,
                                const std::string& newName);

/// Of an entry of an open folder, or of any path below it; a link there is not followed. Of what is
/// open itself where the path is empty. Absent with errno.
[[nodiscard]] std::optional<ItemIdentity> itemIdentity(int folder, const std::string& path);

[[nodiscard]] constexpr EntryKind kindByMode(mode_t mode) {
    if (S_ISREG(mode)) return EntryKind::file;
    if (S_ISDIR(mode)) return EntryKind::folder;
    return S_ISLNK(mode) ? EntryKind::link : EntryKind::other;
}

/// Makes a large buffer quicker to fill for the first time, where the system can.
void preferLargePages(std::string& buffer);

/// Keeps all descriptors from a child but those that `actions` give it. What has to be among the
/// flags of its attributes.
[[nodiscard]] short passNoOtherDescriptors(posix_spawn_file_actions_t& actions);

/// Readable, as poll(2) has it, once a child has ended, and also when it had before. Owns nothing
/// where the system has nothing like it.
[[nodiscard]] Descriptor endOfChild(pid_t child);

/// For good; a thread that is to run as it did afterwards must not be given this.
void setPriorityOfThisThread(Priority priority);

}  // namespace vestigo
