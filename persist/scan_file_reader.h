// Reads a saved scan from JSON text.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "engine/records.h"

namespace vestigo {

/// Cuts JSON text into pieces that can be parsed one at a time. It only finds out where values end,
/// by pairing quotes and counting brackets; whether a piece is valid is for the parser to say. The
/// whole text is valid if every piece is. The text must outlive this object. It takes time in
/// proportion to the text and no memory.
class JsonCutter {
public:
    explicit JsonCutter(std::string_view text) : rest_(text) {}

    /// Whether nothing but white space is left.
    [[nodiscard]] bool atEnd();
    /// Skips this token if it comes next. False when another one does.
    [[nodiscard]] bool skip(char token);
    /// Cuts off the string that comes next, with its quotes. Empty when none comes next.
    [[nodiscard]] std::string_view string();
    /// Cuts off whole values (or members) with the commas between them, up to the first comma after
    /// at least `size` bytes, or up to the end of the list (or map) or text. May be blank.
    [[nodiscard]] std::string_view values(std::size_t size = 0);

private:
    std::string_view cut(std::size_t size);

    std::string_view rest_;
};

/// The saved scan; absent when the text is not one whole, valid JSON object, when a required key is
/// missing or has the wrong type, or when the version is absent or below 3.
///
/// Keys may come in any order. Unknown keys are ignored, and of a key that comes twice the first
/// counts. An optional key with the value null counts as absent. An integer may be written as 5.0
/// or 5e0. The text is unusable if a path contains a NUL (no file has such a path, and the system
/// would cut it short), if it is nested deeper than about a thousand levels, or if a number is out
/// of range: that of a double, or of 64 bits for a number without fraction and exponent. Safe on
/// any bytes.
///
/// Hits and signatures are parsed in pieces of about `pieceSize` bytes, on which the result does
/// not depend.
[[nodiscard]] std::optional<ScanFile> decodeScanFile(std::string_view bytes,
                                                     std::size_t pieceSize = 65536);

}  // namespace vestigo
