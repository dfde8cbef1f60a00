// The terminal behind the standard streams.
#pragma once

#include <cstddef>
#include <optional>

namespace vestigo {

/// The width in columns of the terminal that standard error writes to; absent when it is none.
[[nodiscard]] std::optional<std::size_t> errorTerminalWidth();

}  // namespace vestigo
