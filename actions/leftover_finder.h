// The support files that applications keep outside their bundles.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "engine/records.h"
#include "platform/bundle_information.h"
#include "platform/files.h"

namespace vestigo {

struct LeftoverPlaces {
    std::string home;                  ///< The user's.
    std::string library = "/Library";  ///< The machine-wide one.
};

/// What exists of the support files of these groups, each once: groups in their order, for each the
/// fixed order of the places, in a place the file system's order. Only roots that end in ".app"
/// have any. Matches by identifier are on, matches by name are off and fuzzy, and so are names that
/// begin with an identifier of one word; what lies in the machine-wide Library is marked as the
/// system's. What cannot be read counts as not there; so does
/// an identifier or a name that would lead out of the places. Changes nothing. Blocking.
[[nodiscard]] std::vector<Leftover> findLeftovers(std::span<const BundleGroup* const> groups,
                                                  const LeftoverPlaces& places,
                                                  BundleReader& bundles, Files& files);

}  // namespace vestigo
