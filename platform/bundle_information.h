// The properties that a bundle declares in its Info.plist.
#pragma once

#include <optional>
#include <string>

namespace vestigo {

struct BundleInformation {
    std::optional<std::string> identifier;
    std::optional<std::string> version;  ///< The short version string.
    /// Absolute path of the main executable; present only when it is a regular file.
    std::optional<std::string> executable;
};

/// Thread-safe; blocking.
class BundleReader {
public:
    virtual ~BundleReader() = default;
    /// Absent when the path is no folder laid out as a bundle or its Info.plist cannot be read.
    [[nodiscard]] virtual std::optional<BundleInformation> read(const std::string& path) = 0;
};

}  // namespace vestigo
