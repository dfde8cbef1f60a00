#include "engine/text.h"

#include <cstdint>
#include <cstring>

namespace vestigo {

std::size_t utf8SequenceLength(std::string_view text) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const auto lead = byte(0);
    if (lead < 0x80) return 1;
    if (lead < 0xC2 || lead > 0xF4) return 0;
    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length > text.size()) return 0;
    // The second byte reveals overlong forms, surrogates and values above U+10FFFF.
    const unsigned char lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned char highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (byte(1) < lowest || byte(1) > highest) return 0;
    for (std::size_t i = 2; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) return 0;
    }
    return length;
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        // Nearly all text is ASCII, which is skipped eight bytes at a time.
        std::uint64_t eight = 0;
        if (text.size() >= sizeof eight) {
            std::memcpy(&eight, text.data(), sizeof eight);
            if ((eight & 0x8080808080808080U) == 0) {
                text.remove_prefix(sizeof eight);
                continue;
            }
        }
        const auto length = utf8SequenceLength(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

}  // namespace vestigo
