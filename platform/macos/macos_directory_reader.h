// Folders read with getattrlistbulk.
#pragma once

#include "platform/directory_reader.h"

namespace vestigo {

/// Hidden are dot names and what carries the hidden flag. A listing brings the attributes of its
/// files along. What is kept in a cloud, and would be fetched when it is opened, is neither a file
/// nor a folder here. Where the process runs out of file descriptors it waits a moment for some to
/// come free.
class MacOSDirectoryReader : public DirectoryReader {
public:
    [[nodiscard]] std::unique_ptr<Folder> open(const std::string& path) override;
    /// Half of what this process may still open now, less a few to spare.
    [[nodiscard]] unsigned maxOpenFolders() const override;
};

}  // namespace vestigo
