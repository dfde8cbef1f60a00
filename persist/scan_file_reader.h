// The saved scan read back from JSON text.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "engine/records.h"

namespace vestigo {

/// Absent when the text is not one whole, valid JSON object, when a required key is missing or has
/// the wrong type, or when the version is absent or below 3.
///
/// Keys may come in any order; unknown ones are ignored, and of a key that comes twice the first
/// counts. An optional key with the value null counts as absent. An integer may be written as 5.0
/// or 5e0. A path with a NUL in it, which no file has and the system would cut short, makes the
/// text unusable; so do nesting deeper than about a thousand and a number beyond the range of a
/// double, or, without fraction and exponent, of 64 bits. Safe on any bytes.
///
/// Hits and signatures are parsed about `pieceSize` bytes at a time; the result does not depend on
/// it.
[[nodiscard]] std::optional<ScanFile> decodeScanFile(std::string_view bytes,
                                                     std::size_t pieceSize = 65536);

}  // namespace vestigo
