// The standard streams, and the terminal behind them.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace vestigo {

/// Writes all of it to standard output, waiting as long as that takes no more, also where whoever
/// opened it has set it not to block. False with errno: EPIPE when nobody reads it any more.
[[nodiscard]] bool writeOutput(std::string_view bytes);

[[nodiscard]] bool outputIsTerminal();

/// The width in columns, by now, of the terminal that standard error writes to. Absent when it is
/// none, or one that cannot clear a line.
[[nodiscard]] std::optional<std::size_t> errorTerminalWidth();

/// How many columns a terminal gives to a character: 2 for a wide one, 0 for one that combines with
/// the one before. Absent when it shows nothing, or nobody knows what. Main thread only.
[[nodiscard]] std::optional<std::size_t> terminalColumns(char32_t character);

}  // namespace vestigo
