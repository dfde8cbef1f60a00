// Folders read with getdents64 and statx.
#pragma once

#include "platform/directory_reader.h"

namespace vestigo {

/// Hidden means a dot name. Attributes are not part of a listing here and cost a request each.
/// Where the process runs out of file descriptors it waits a moment for some to come free.
class LinuxDirectoryReader : public DirectoryReader {
public:
    [[nodiscard]] std::unique_ptr<Folder> open(const std::string& path) override;
    /// A third of what this process may still open now, less a few to spare.
    [[nodiscard]] unsigned maxOpenFolders() const override;
};

}  // namespace vestigo
