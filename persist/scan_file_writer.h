// The saved scan as JSON text.
#pragma once

#include <optional>
#include <string>

#include "engine/records.h"

namespace vestigo {

/// Compact UTF-8 JSON, every slash in a string escaped. The same record always gives the same text:
/// hits in their order, signatures ordered by root. Numbers are read back bit for bit. Signatures
/// that are absent are written as an empty map.
///
/// What JSON text cannot hold is left out: roots, hits and signatures with a string that is not
/// valid UTF-8 or a path that contains a NUL. Absent when the date or a hit has a number that is
/// not finite.
[[nodiscard]] std::optional<std::string> encodeScanFile(const ScanFile& record);

}  // namespace vestigo
