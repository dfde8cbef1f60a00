// Whole-file operations. Paths are byte strings. Thread-safe; blocking.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vestigo {

/// Who may open a file that is written. `usual`: as the user's other new files; a file that is
/// replaced keeps its permissions.
enum class Access : std::uint8_t { ownerOnly, usual };

class Files {
public:
    virtual ~Files() = default;
    /// The whole content. Absent when it cannot be read or is no regular file.
    [[nodiscard]] virtual std::optional<std::string> read(const std::string& path) = 0;
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
};

}  // namespace vestigo
