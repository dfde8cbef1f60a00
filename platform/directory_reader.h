// Reads folders for the scan: the entries of a folder, and the first bytes of its files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/files.h"

namespace vestigo {

/// Size in bytes; times in seconds since 2001-01-01 00:00:00 UTC. An unknown value is 0.
struct FileAttributes {
    std::int64_t size = 0;
    double mtime = 0;
    double ctime = 0;  ///< Creation, not inode change.
    // The following fields distinguish two states of a file as exactly as the system can.
    /// Modification time in nanoseconds since 1970, limited to the range of the type.
    std::int64_t modified = 0;
    /// Time of the inode's last change, in the same unit. It is 0 unless the file system is known
    /// to update it with every change and to let no program set it.
    std::int64_t changed = 0;
    std::uint64_t inode = 0;
    std::uint64_t fileSystem = 0;  ///< Differs when another one is mounted in its place.
};

/// One entry of a folder. The views live until the visitor returns.
struct FolderEntry {
    std::string_view name;  ///< Any bytes but '/' and NUL; followed by a NUL in memory.
    EntryKind kind = EntryKind::other;
    bool hidden = false;  ///< True for dot names and whatever else the system hides.
    /// Present where the listing includes them; otherwise ask `Folder::attributes`.
    std::optional<FileAttributes> attributes;
};

/// A regular file opened for reading; closed on destruction. Used by one thread.
class HeaderFile {
public:
    virtual ~HeaderFile() = default;
    /// Reads once from the start of the file. Returns the number of bytes read, 0 when there are
    /// none; absent when the read failed.
    [[nodiscard]] virtual std::optional<std::size_t> readStart(std::span<std::byte> buffer) = 0;
    /// Absent when it is not a regular file or cannot be asked.
    [[nodiscard]] virtual std::optional<FileAttributes> attributes() = 0;
};

/// A folder opened for reading; closed on destruction. `list` is called once, by one thread;
/// afterwards everything else may be called by several threads at a time. A folder on one of the
/// kernel's pseudo file systems lists no entries.
class Folder {
public:
    virtual ~Folder() = default;
    /// Calls the visitor for every entry but "." and "..", in the system's order, until it returns
    /// false. Returns false when an error ended the listing; the entries visited before it are
    /// valid.
    [[nodiscard]] virtual bool list(const std::function<bool(const FolderEntry&)>& visitor) = 0;
    /// The attributes of an entry, never through a link. Absent when it is no regular file.
    [[nodiscard]] virtual std::optional<FileAttributes> attributes(const char* name) = 0;
    /// Opens an entry without following a link and without ever blocking (a FIFO gives a file with
    /// no bytes). Null when it cannot be opened.
    [[nodiscard]] virtual std::unique_ptr<HeaderFile> openFile(const char* name) = 0;
    /// Opens a folder below this one by its relative path. No component may be a symbolic link, not
    /// even one that has just replaced a folder. Null when it is no folder or cannot be opened. The
    /// path may be longer than the system's limit for one call.
    [[nodiscard]] virtual std::unique_ptr<Folder> openFolder(std::string_view path) = 0;
};

/// Opens folders. Thread-safe.
class DirectoryReader {
public:
    virtual ~DirectoryReader() = default;
    /// Symbolic links in the path are followed. Null with errno when it is no folder or cannot be
    /// opened. The path may be longer than the system's limit for one call.
    [[nodiscard]] virtual std::unique_ptr<Folder> open(const std::string& path) = 0;
    /// How many folders may be open at a time, when each has one of its files open and each is
    /// opened below a parent that is open as well.
    [[nodiscard]] virtual unsigned maxOpenFolders() const = 0;
};

}  // namespace vestigo
