// Reads bundles on Linux: the Info.plist, XML or binary, through libplist.
#pragma once

#include <string_view>

#include "platform/bundle_information.h"

namespace vestigo {

/// Knows the layouts that macOS knows: Contents/Info.plist with the executable in Contents/MacOS
/// (applications, plug-ins, kernel extensions), versioned frameworks (the current version, else the
/// first by name that has an Info.plist), and Info.plist at the top or in Resources with the
/// executable at the top. An Info.plist larger than 1 MiB is not read. If it names no executable,
/// that has the bundle's own name. A name or link that leads out of the bundle counts as missing.
/// Paths may be longer than the system's limit for one call.
class LinuxBundleReader : public BundleReader {
public:
    [[nodiscard]] std::optional<BundleInformation> read(const std::string& path) override;
};

/// The entries of an Info.plist, regardless of the bundle around it.
struct InfoPlist {
    std::optional<std::string> identifier;
    std::optional<std::string> version;
    std::optional<std::string> executableName;
};

/// Absent when the content is no property list with a dictionary at its top.
[[nodiscard]] std::optional<InfoPlist> parseInfoPlist(std::string_view content);

}  // namespace vestigo
