// Reads and writes whole files through POSIX calls.
#pragma once

#include "platform/files.h"

namespace vestigo {

/// Links are followed when reading. Where a link stands, `replace` puts the file in the link's
/// place. Files made by `copy` may be read and written by their owner only. Nothing larger than 2
/// GiB is read.
class PosixFiles : public Files {
public:
    [[nodiscard]] std::optional<std::string> read(const std::string& path) override;
    [[nodiscard]] FileContent readToEnd(const std::string& path) override;
    [[nodiscard]] FileContent readOwn(const std::string& path, std::size_t most) override;
    [[nodiscard]] bool replace(const std::string& path, std::string_view content,
                               Access access) override;
    [[nodiscard]] bool exists(const std::string& path) override;
    bool createFolders(const std::string& path) override;
    [[nodiscard]] bool copy(const std::string& from, const std::string& to) override;
    [[nodiscard]] std::optional<EntryKind> kind(const std::string& path) override;
    [[nodiscard]] std::optional<ItemIdentity> identity(const std::string& path) override;
    [[nodiscard]] std::optional<std::string> resolved(const std::string& path) override;
    [[nodiscard]] std::optional<std::vector<std::string>> names(const std::string& folder) override;
    [[nodiscard]] bool isPrivateFolder(const std::string& path) override;
    [[nodiscard]] std::unique_ptr<FolderLock> lockFolder(const std::string& path,
                                                         const CancelFlag& cancel) override;
    bool remove(const std::string& path) override;
};

}  // namespace vestigo
