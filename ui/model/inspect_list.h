// Lists every binary that the scan has found inside one group, for the inspect sheet.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "engine/records.h"

namespace vestigo {

struct InspectedBinary {
    std::string archText;   ///< The architectures, sorted and joined by commas.
    std::string shownPath;  ///< Relative to the group's root. May hold any bytes.
    bool legacy = false;
    bool operator==(const InspectedBinary&) const = default;
};

struct InspectedBundle {
    std::string title;
    std::string summary;
    std::vector<InspectedBinary> binaries;  ///< Sorted by path.
    bool operator==(const InspectedBundle&) const = default;
};

/// Goes through all hits. `allHits` includes the native binaries, which a group does not hold.
[[nodiscard]] InspectedBundle inspectBundle(const HitList& allHits, const BundleGroup& group);

}  // namespace vestigo
