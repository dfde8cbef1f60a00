// Reads folders with getattrlistbulk.
#pragma once

#include "platform/directory_reader.h"

namespace vestigo {

/// Dot names are hidden, and so are items with the hidden flag. A listing includes the attributes
/// of its files. An item whose content lies in a cloud, so that opening it would download it, is
/// reported as of unknown kind. While all of the process's descriptors are in use, the reader waits
/// a moment for a free one.
class MacOSDirectoryReader : public DirectoryReader {
public:
    [[nodiscard]] std::unique_ptr<Folder> open(const std::string& path) override;
    /// A third of the descriptors that this process may still open, less a few to spare.
    [[nodiscard]] unsigned maxOpenFolders() const override;
};

}  // namespace vestigo
