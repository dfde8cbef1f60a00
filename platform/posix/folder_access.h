// Opens and lists folders in the ways that the directory readers of POSIX systems share.
// Thread-safe.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <dirent.h>
#include <sys/stat.h>

#include "platform/directory_reader.h"
#include "platform/posix/descriptor.h"

namespace vestigo {

struct CloseListing {
    void operator()(DIR* listing) const { ::closedir(listing); }
};

/// An open listing, as fdopendir(3) returns it.
using Listing = std::unique_ptr<DIR, CloseListing>;

/// Lists an open folder from its first entry on, through a descriptor of its own. Null with errno.
[[nodiscard]] Listing openListing(int folder);

/// The names in an open folder, in the order the file system gives them, without "." and "..".
/// Absent when the folder cannot be listed to its end.
[[nodiscard]] std::optional<std::vector<std::string>> namesIn(int folder);

/// Opens as openat(2) does, and waits up to two seconds for a free descriptor while all are in use.
[[nodiscard]] Descriptor openPatiently(int folder, const char* path, int flags);

/// The same for a path that may be longer than the limit for one call. The folders on the way are
/// opened with `throughFlags`.
[[nodiscard]] Descriptor openPathPatiently(std::string_view path, int flags, int throughFlags);

/// Opens a folder below another one by its relative path, through no symbolic link. It waits for a
/// descriptor in the same way.
[[nodiscard]] Descriptor openFolderBelow(int root, std::string_view path, int flags,
                                         int throughFlags);

/// Reads the first bytes of an open file: as many as there are, at most the buffer's size. Absent
/// when they cannot be read.
[[nodiscard]] std::optional<std::size_t> readStart(int file, std::span<std::byte> buffer);

/// A folder that lists no entries. It stands for folders on pseudo file systems.
[[nodiscard]] std::unique_ptr<Folder> emptyFolder();

/// How many folders a scan may have open at once, each with a file in it and its parent, when so
/// many descriptors are in use already; at least 1.
[[nodiscard]] unsigned maxOpenFoldersBeside(std::size_t openDescriptors);

}  // namespace vestigo
