// Reads bundles through the system's own service.
#pragma once

#include "platform/bundle_information.h"

namespace vestigo {

/// A folder without an Info.plist, or with an empty one, is no bundle.
class MacOSBundleReader : public BundleReader {
public:
    [[nodiscard]] std::optional<BundleInformation> read(const std::string& path) override;
};

}  // namespace vestigo
