// Writes a scan as JSON text, to be saved.
#pragma once

#include <optional>
#include <string>

#include "engine/records.h"

namespace vestigo {

/// The record as compact JSON in UTF-8, in which every slash in a string is escaped. The same
/// record always gives the same text: hits keep their order, signatures are ordered by root.
/// Numbers are read back bit for bit. Absent signatures are written as an empty map.
///
/// Roots, hits and signatures are left out if JSON text cannot hold them: if a string is not valid
/// UTF-8, or if a path contains a NUL. The result is absent if the date or a time of a hit is not
/// finite.
[[nodiscard]] std::optional<std::string> encodeScanFile(const ScanFile& record);

}  // namespace vestigo
