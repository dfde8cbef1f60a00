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

/// Who may open a file that is written. `usual`: as the user's other new files; a file that is
/// replaced keeps its permissions.
enum class Access : std::uint8_t { ownerOnly, usual };

/// What lies at a path, a link not followed. `unknown`: the system did not say, or the content lies
/// in a cloud and looking would fetch it; only listings of folders give that.
enum class EntryKind : std::uint8_t { file, folder, link, other, unknown };

/// What tells an item from another one that has taken its place. It stays the same when the item
/// is renamed within its file system, and when what is in it changes.
struct ItemIdentity {
    std::uint64_t device = 0;
    std::uint64_t number = 0;  ///< Of the inode.
    EntryKind kind = EntryKind::other;
    /// When it was made, in nanoseconds since 1970; 0 where the file system does not tell. File
    /// systems soon give the number of a removed item to a new one.
    std::int64_t created = 0;

    bool operator==(const ItemIdentity&) const = default;
};

/// What was read, or why nothing was.
struct FileContent {
    std::string bytes;
    std::string problem;  ///< Such as "Permission denied". Empty when there is none.
};

/// A folder held for one at a time, among all programs that ask for it, until this ends.
class FolderLock {
public:
    virtual ~FolderLock() = default;
};

class Files {
public:
    virtual ~Files() = default;
    /// The whole content. Absent when it cannot be read or is no regular file.
    [[nodiscard]] virtual std::optional<std::string> read(const std::string& path) = 0;
    /// The whole content of a file, or of a pipe or device up to its end, for which it waits.
    [[nodiscard]] virtual FileContent readToEnd(const std::string& path) = 0;
    /// The beginning, at most so many bytes, of a regular file that belongs to this user and that
    /// nobody else may write; of any other file, the problem.
    [[nodiscard]] virtual FileContent readOwn(const std::string& path, std::size_t most) = 0;
    /// Replaces the file whole: a temporary file in the same folder, flushed to disk, renamed over
    /// the old one. Whenever it is interrupted, the old or the new file is there whole. False when
    /// anything failed; the old file then stays and nothing is left behind.
    [[nodiscard]] virtual bool replace(const std::string& path, std::string_view content,
                                       Access access) = 0;
    [[nodiscard]] virtual bool exists(const std::string& path) = 0;
    /// With missing parents. True when the folder is there afterwards.
    virtual bool createFolders(const std::string& path) = 0;
    /// Never overwrites; a half-made copy does not stay. False when anything failed.
    [[nodiscard]] virtual bool copy(const std::string& from, const std::string& to) = 0;
    /// What lies at the path itself: a link there is not followed. Absent when there is nothing, or
    /// nothing that can be reached.
    [[nodiscard]] virtual std::optional<EntryKind> kind(const std::string& path) = 0;
    /// Of the item at the path itself: a link there is not followed. Absent when there is nothing,
    /// or nothing that can be reached.
    [[nodiscard]] virtual std::optional<ItemIdentity> identity(const std::string& path) = 0;
    /// The path without links in it, as the file system spells it. Absent when it leads nowhere.
    [[nodiscard]] virtual std::optional<std::string> resolved(const std::string& path) = 0;
    /// The names in a folder, in the order the file system gives them, without "." and "..". Absent
    /// when it cannot be listed to its end.
    [[nodiscard]] virtual std::optional<std::vector<std::string>> names(
        const std::string& folder) = 0;
    /// A real folder, no link to one, of this user, that nobody else may enter.
    [[nodiscard]] virtual bool isPrivateFolder(const std::string& path) = 0;
    /// Waits until nobody else holds the folder, or until `cancel` is cancelled: then it is tried
    /// once more. Null when it was not had.
    [[nodiscard]] virtual std::unique_ptr<FolderLock> lockFolder(const std::string& path,
                                                                 const CancelFlag& cancel) = 0;
    /// Removes a file, or a link itself. True when it has gone.
    virtual bool remove(const std::string& path) = 0;
};

}  // namespace vestigo
