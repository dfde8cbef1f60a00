// Whole-file operations. Paths are byte strings. Thread-safe; blocking.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/tasks.h"

namespace vestigo {

/// The permissions of a written file. `ownerOnly`: only the user may read and write it. `usual`: it
/// is created like the user's other files, and a file that is replaced keeps its permissions.
enum class Access : std::uint8_t { ownerOnly, usual };

/// The kind of item at a path; links are not followed. `unknown`: the system did not tell, or the
/// content lies in a cloud and reading it would download it. Only listings of folders give
/// `unknown`.
enum class EntryKind : std::uint8_t { file, folder, link, other, unknown };

/// Distinguishes an item from another one that has taken its place. It does not change when the
/// item is renamed within its file system or its content changes.
struct ItemIdentity {
    std::uint64_t device = 0;
    std::uint64_t number = 0;  ///< The inode number.
    EntryKind kind = EntryKind::other;
    /// Creation time in nanoseconds since 1970; 0 where the file system does not record it. The
    /// inode number is not enough: file systems soon give that of a removed item to a new one.
    std::int64_t created = 0;

    bool operator==(const ItemIdentity&) const = default;
};

/// The content of a file, or the reason why it could not be read.
struct FileContent {
    std::string bytes;
    std::string problem;  ///< Such as "Permission denied". Empty when there is none.
};

/// An exclusive lock on a folder, respected by all programs that lock it. Destruction releases it.
class FolderLock {
public:
    virtual ~FolderLock() = default;
};

class Files {
public:
    virtual ~Files() = default;
    /// The whole content. Absent when it cannot be read or is no regular file.
    [[nodiscard]] virtual std::optional<std::string> read(const std::string& path) = 0;
    /// The whole content of a file, or of a pipe or device, for whose end it waits.
    [[nodiscard]] virtual FileContent readToEnd(const std::string& path) = 0;
    /// The first `most` bytes of a regular file that belongs to this user and that nobody else may
    /// write. Any other file gives a problem.
    [[nodiscard]] virtual FileContent readOwn(const std::string& path, std::size_t most) = 0;
    /// Replaces the file atomically: a temporary file in the same folder is written, flushed to
    /// disk and renamed over the old one. At any interruption either the old or the new file is
    /// complete. False when anything failed; the old file then stays and nothing is left behind.
    [[nodiscard]] virtual bool replace(const std::string& path, std::string_view content,
                                       Access access) = 0;
    [[nodiscard]] virtual bool exists(const std::string& path) = 0;
    /// Creates the folder and its missing parents. True when the folder exists afterwards.
    virtual bool createFolders(const std::string& path) = 0;
    /// Never overwrites, and leaves no incomplete copy. False when anything failed.
    [[nodiscard]] virtual bool copy(const std::string& from, const std::string& to) = 0;
    /// The kind of the item at the path itself: a link is not followed. Absent when there is no
    /// item or it cannot be reached.
    [[nodiscard]] virtual std::optional<EntryKind> kind(const std::string& path) = 0;
    /// The identity of the item at the path itself: a link is not followed. Absent when there is no
    /// item or it cannot be reached.
    [[nodiscard]] virtual std::optional<ItemIdentity> identity(const std::string& path) = 0;
    /// The path with all links resolved, as the file system spells it. Absent when it leads
    /// nowhere.
    [[nodiscard]] virtual std::optional<std::string> resolved(const std::string& path) = 0;
    /// The names in a folder, in the order the file system gives them, without "." and "..". Absent
    /// when it cannot be listed to its end.
    [[nodiscard]] virtual std::optional<std::vector<std::string>> names(
        const std::string& folder) = 0;
    /// Whether the path is a real folder and no link, belongs to this user, and nobody else may
    /// enter it.
    [[nodiscard]] virtual bool isPrivateFolder(const std::string& path) = 0;
    /// Waits until no other program holds the lock. Once `cancel` is cancelled, it tries one last
    /// time. Null when the lock was not obtained.
    [[nodiscard]] virtual std::unique_ptr<FolderLock> lockFolder(const std::string& path,
                                                                 const CancelFlag& cancel) = 0;
    /// Removes a file, or a link itself. True when it was removed.
    virtual bool remove(const std::string& path) = 0;
};

}  // namespace vestigo
