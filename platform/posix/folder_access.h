// What the directory readers of POSIX systems do alike. Thread-safe.
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

/// What fdopendir(3) gives; null owns nothing.
using Listing = std::unique_ptr<DIR, CloseListing>;

/// With a descriptor of its own, from the first entry on. Null with errno.
[[nodiscard]] Listing openListing(int folder);

/// In the order the file system gives them, without "." and "..". Absent when the folder cannot be
/// listed to its end.
[[nodiscard]] std::optional<std::vector<std::string>> namesIn(int folder);

/// Opens as openat(2) does, and waits up to two seconds for a descriptor where all are in use.
[[nodiscard]] Descriptor openPatiently(int folder, const char* path, int flags);

/// The same for a path that may be longer than one call takes; `throughFlags` are those for the
/// folders on the way.
[[nodiscard]] Descriptor openPathPatiently(std::string_view path, int flags, int throughFlags);

/// Opens a folder below another by its relative path, through no symbolic link, just as patiently.
[[nodiscard]] Descriptor openFolderBelow(int root, std::string_view path, int flags,
                                         int throughFlags);

/// The same one folder at a time, for systems that have no call for it.
[[nodiscard]] Descriptor openFolderBelowStepwise(int root, std::string_view path, int flags,
                                                 int throughFlags);

/// The first bytes of an open file: as many as there are, at most the buffer's size. Absent when
/// they cannot be read.
[[nodiscard]] std::optional<std::size_t> readStart(int file, std::span<std::byte> buffer);

/// A folder in which nothing is listed, for those on pseudo file systems.
[[nodiscard]] std::unique_ptr<Folder> emptyFolder();

/// How many folders a scan may have open at once, each with a file in it and the root above it,
/// next to the descriptors that are open already; at least 1.
[[nodiscard]] unsigned maxOpenFoldersBeside(std::size_t openDescriptors);

}  // namespace vestigo
