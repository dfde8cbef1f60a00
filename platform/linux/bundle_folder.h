// A bundle as a folder: no path or link inside it leads out of it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/linux/byte_source.h"
#include "platform/posix/descriptor.h"

namespace vestigo {

/// Paths are relative to the bundle. Links are followed only as long as they stay inside it.
/// Thread-safe; never blocks.
class BundleFolder {
public:
    /// The path may be longer than the system's limit for one call. Absent when it is no folder
    /// that can be opened.
    [[nodiscard]] static std::optional<BundleFolder> open(const std::string& path);

    /// Absent when it cannot be opened or is no regular file.
    [[nodiscard]] std::optional<FileBytes> file(const std::string& path) const;
    /// Whether the path is that of a regular file, which need not be readable.
    [[nodiscard]] bool holdsFile(const std::string& path) const;
    /// The names in a folder without the hidden ones, sorted. Empty when it cannot be listed.
    [[nodiscard]] std::vector<std::string> names(const std::string& path) const;

private:
    explicit BundleFolder(Descriptor folder) : folder_(std::move(folder)) {}
    [[nodiscard]] Descriptor openInside(const std::string& path, int flags) const;

    Descriptor folder_;
};

}  // namespace vestigo
