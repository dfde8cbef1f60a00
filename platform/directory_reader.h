// What the scan asks of a file system: the entries of one folder, and the first bytes of its files.
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

/// Size in bytes; times in seconds since 2001-01-01 00:00:00 UTC. What is unknown is 0.
struct FileAttributes {
    std::int64_t size = 0;
    double mtime = 0;
    double ctime = 0;  ///< Creation, not inode change.
    // What tells one state of a file from another as exactly as the system can.
    /// In nanoseconds since 1970; beyond what these can count, the first or the last of them.
    std::int64_t modified = 0;
    /// Of the inode, in the same way. Given only on file systems of which it is known that every
    /// change moves it, and that no program can set it.
    std::int64_t changed = 0;
    std::uint64_t inode = 0;
    std::uint64_t fileSystem = 0;  ///< Tells file systems apart that are mounted at one place.
};

/// One entry of a folder. The views live until the visitor returns.
struct FolderEntry {
    std::string_view name;  ///< Any bytes but '/' and NUL; followed by a NUL in memory.
    EntryKind kind = EntryKind::other;
    bool hidden = false;  ///< Dot names, and what else the system hides.
    /// Present where the listing brings it along, else asked for by `Folder::attributes`.
    std::optional<FileAttributes> attributes;
};

/// A regular file opened for reading; closed on destruction. Used by one thread.
class HeaderFile {
public:
    virtual ~HeaderFile() = default;
    /// One read from the start of the file. The number of bytes read, 0 when there are none; absent
    /// when the read failed.
    [[nodiscard]] virtual std::optional<std::size_t> readStart(std::span<std::byte> buffer) = 0;
    /// Absent when it is not a regular file or cannot be asked.
    [[nodiscard]] virtual std::optional<FileAttributes> attributes() = 0;
};

/// A folder opened for reading; closed on destruction. `list` is called once, by one thread;
/// afterwards everything else may be called by several threads at a time. A folder on a pseudo file
/// system of the kernel lists nothing.
class Folder {
public:
    virtual ~Folder() = default;
    /// Calls the visitor for every entry but "." and "..", in the system's order, until it returns
    /// false. An error ends the listing, and the result is then false; what was listed before it
    /// counts.
    [[nodiscard]] virtual bool list(const std::function<bool(const FolderEntry&)>& visitor) = 0;
    /// The attributes of an entry, never through a link. Absent when it is no regular file.
    [[nodiscard]] virtual std::optional<FileAttributes> attributes(const char* name) = 0;
    /// Opens an entry without following a link and without ever blocking (a FIFO gives a file with
    /// no bytes). Null when it cannot be opened.
    [[nodiscard]] virtual std::unique_ptr<HeaderFile> openFile(const char* name) = 0;
    /// Opens a folder below this one by its relative path, passing through no symbolic link: what
    /// has been swapped for one leads nowhere. Null when it is no folder or cannot be opened. Paths
    /// may be longer than the system's limit for one call.
    [[nodiscard]] virtual std::unique_ptr<Folder> openFolder(std::string_view path) = 0;
};

/// Opens folders. Thread-safe.
class DirectoryReader {
public:
    virtual ~DirectoryReader() = default;
    /// Symbolic links in the path are followed. Null with errno when it is no folder or cannot be
    /// opened.
    /// Paths may be longer than the system's limit for one call.
    [[nodiscard]] virtual std::unique_ptr<Folder> open(const std::string& path) = 0;
    /// How many folders may be held open at a time, each with one of its files, next to as many
    /// folders that others are opened below.
    [[nodiscard]] virtual unsigned maxOpenFolders() const = 0;
};

}  // namespace vestigo
