// Reads folders with getdents64 and statx.
#pragma once

#include "platform/directory_reader.h"

namespace vestigo {

/// Only dot names are hidden. Listings include no attributes; each file's cost one more call. While
/// all of the process's descriptors are in use, the reader waits a moment for a free one.
class LinuxDirectoryReader : public DirectoryReader {
public:
    [[nodiscard]] std::unique_ptr<Folder> open(const std::string& path) override;
    /// A third of the descriptors that this process may still open, less a few to spare.
    [[nodiscard]] unsigned maxOpenFolders() const override;
};

}  // namespace vestigo
