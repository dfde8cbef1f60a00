// Small questions about text that is bytes first.
#pragma once

#include <cstddef>
#include <string_view>

namespace vestigo {

/// ASCII letters only; what it is compared with is ASCII too.
[[nodiscard]] constexpr char lowerCase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The length of the UTF-8 sequence at the start of `text`, which is not empty; 0 when it is not
/// well-formed (RFC 3629).
[[nodiscard]] std::size_t utf8SequenceLength(std::string_view text);

[[nodiscard]] bool isUtf8(std::string_view text);

}  // namespace vestigo
