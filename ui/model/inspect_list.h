// What the findings say of one group: every binary inside it. Knows no toolkit.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "engine/records.h"

namespace vestigo {

struct InspectedBinary {
    std::string archText;   ///< The architectures, sorted.
    std::string shownPath;  ///< Below the group's root; bytes.
    bool legacy = false;
    bool operator==(const InspectedBinary&) const = default;
};

struct InspectedBundle {
    std::string title;
    std::string summary;
    std::vector<InspectedBinary> binaries;  ///< In the order of their paths.
    bool operator==(const InspectedBundle&) const = default;
};

[[nodiscard]] InspectedBundle inspectBundle(const HitList& allHits, const BundleGroup& group);

}  // namespace vestigo
