// The saved scan read back from JSON text.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "engine/records.h"

namespace vestigo {

/// Goes forward through JSON text and tells where values end. It judges nothing but the tokens it
/// is asked for: what it hands out has its quotes and its brackets (by number, not by kind) paired,
/// and is for a parser to accept. So a text is valid when every piece is. The text must outlive it.
/// Time is linear in the text, memory constant.
class JsonCutter {
public:
    explicit JsonCutter(std::string_view text) : rest_(text) {}

    /// Whether nothing but white space is left.
    [[nodiscard]] bool atEnd();
    /// Goes past this token if it comes next.
    [[nodiscard]] bool take(char token);
    /// The string that comes next, with its quotes. Empty when there is none.
    [[nodiscard]] std::string_view string();
    /// Whole values (or members) with the commas between them: up to the first comma after at least
    /// `size` bytes, or to the bracket or end that leaves no more. May be blank.
    [[nodiscard]] std::string_view values(std::size_t size = 0);

private:
    std::string_view cut(std::size_t size);

    std::string_view rest_;
};

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
