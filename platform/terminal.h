// The standard streams, and the terminal behind them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

namespace vestigo {

/// Writes all bytes to standard output and waits while it is full, even where it was opened
/// non-blocking. False with errno on failure: EPIPE when nobody reads the output any more.
[[nodiscard]] bool writeOutput(std::string_view bytes);

[[nodiscard]] bool outputIsTerminal();

/// The current width in columns of the terminal behind standard error. Absent when standard error
/// is no terminal, or one that cannot clear a line.
[[nodiscard]] std::optional<std::size_t> errorTerminalWidth();

/// How many columns a terminal uses for a character: 2 for a wide one, 0 for one that combines with
/// the one before. Absent for a control character or an unknown one. Main thread only.
[[nodiscard]] std::optional<std::size_t> terminalColumns(char32_t character);

/// `interrupt`: SIGINT (the user's Ctrl-C) and SIGTERM. `interruptOrHangUp`: also SIGHUP, which the
/// system sends when the terminal is closed.
enum class EndingSignals : std::uint8_t { interrupt, interruptOrHangUp };

/// From now on the first of these signals, unless it is ignored, calls `onInterrupt` on a thread of
/// its own with the usual exit status (128 + its number). When that returns false, and whenever a
/// second signal arrives, the process ends as it would have without this call. A broken pipe no
/// longer ends the process; the write fails instead. Programs that are started later inherit only
/// the setting for broken pipes. Called once.
void watchForInterrupt(std::function<bool(int exitStatus)> onInterrupt,
                       EndingSignals which = EndingSignals::interrupt);

}  // namespace vestigo
