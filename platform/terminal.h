// The standard streams, and the terminal behind them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
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

/// SIGINT (the user's Ctrl-C) and SIGTERM; or these and SIGHUP, which comes when the terminal goes.
enum class EndingSignals : std::uint8_t { interrupt, interruptOrHangUp };

/// From now on the first of these signals, unless it is being ignored, calls `onInterrupt` on a
/// thread of its own, with the exit status that is usual after it (128 + its number). When that
/// gives false, and at any second one of them, the process ends as if nothing had been set up. A
/// broken pipe no longer ends the process but fails the write. Programs that are started later, by
/// whatever means, do not inherit any of this but the broken pipe's. To be called once.
void watchForInterrupt(std::function<bool(int exitStatus)> onInterrupt,
                       EndingSignals which = EndingSignals::interrupt);

}  // namespace vestigo
