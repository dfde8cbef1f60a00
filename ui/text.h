// Between the program's byte strings and Qt's text.
#pragma once

#include <QString>
#include <string_view>

namespace vestigo {

/// For showing only: bytes that are no UTF-8 become replacement characters.
[[nodiscard]] inline QString shown(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace vestigo
