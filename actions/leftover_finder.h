// Finds the support files that applications keep outside their bundles.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "engine/records.h"
#include "platform/bundle_information.h"
#include "platform/files.h"

namespace vestigo {

/// The folders in which support files are searched for.
struct LeftoverPlaces {
    std::string home;                  ///< The home folder of the user.
    std::string library = "/Library";  ///< The Library folder of the whole machine.
};

/// The support files of these groups that exist, each once. They are ordered by group, then by
/// place in a fixed order, then as the file system lists them. Only groups with a root that ends in
/// ".app" have any.
///
/// Files found by the application's identifier are on. Files found by its name, or by an identifier
/// of one word, are fuzzy and off, since other programs may share them. Files in the machine-wide
/// Library are marked as the system's. A file or folder that cannot be read counts as absent, and
/// so does an identifier or name that would lead out of the places. Changes nothing. Blocking.
[[nodiscard]] std::vector<Leftover> findLeftovers(std::span<const BundleGroup* const> groups,
                                                  const LeftoverPlaces& places,
                                                  BundleReader& bundles, Files& files);

}  // namespace vestigo
