// A bundle as a folder that nothing in it leads out of.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/linux/byte_source.h"
#include "platform/posix/descriptor.h"

namespace vestigo {

/// Paths are relative to the bundle. Links in it are followed as long as they stay in it.
/// Thread-safe; never blocks.
class BundleFolder {
public:
    /// The path may be longer than one call takes. Absent when it is no folder that can be opened.
    [[nodiscard]] static std::optional<BundleFolder> open(const std::string& path);

    /// Absent when it cannot be opened or is no regular file.
    [[nodiscard]] std::optional<FileBytes> file(const std::string& path) const;
    /// Whether it is a regular file, which need not be readable.
    [[nodiscard]] bool holdsFile(const std::string& path) const;
    /// The names in a folder that are not hidden, sorted. Empty when it cannot be listed.
    [[nodiscard]] std::vector<std::string> names(const std::string& path) const;

private:
    explicit BundleFolder(Descriptor folder) : folder_(std::move(folder)) {}
    [[nodiscard]] Descriptor openInside(const std::string& path, int flags) const;

    Descriptor folder_;
};

/// Opens what lies below an open folder, and follows links as long as they stay in it, as
/// openat2(2) does with RESOLVE_BENEATH: one name at a time, for kernels that lack it. Owns
/// nothing, with errno, where it cannot be opened.
[[nodiscard]] Descriptor openBeneathStepwise(int folder, std::string path, int flags);

}  // namespace vestigo
