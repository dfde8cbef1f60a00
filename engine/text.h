// Helpers for text that is a sequence of bytes, of which it is not known whether it is UTF-8.
#pragma once

#include <cstddef>
#include <string_view>

namespace vestigo {

/// Turns ASCII capitals into small letters and leaves all other bytes alone. It is meant for
/// comparisons with ASCII text.
[[nodiscard]] constexpr char lowerCase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The length in bytes of the UTF-8 sequence at the start of `text`; 0 when it is not well-formed
/// (RFC 3629). `text` must not be empty.
[[nodiscard]] std::size_t utf8SequenceLength(std::string_view text);

/// Whether the whole text is well-formed UTF-8. True for an empty one.
[[nodiscard]] bool isUtf8(std::string_view text);

}  // namespace vestigo
