// Signals that ask the program to end.
#pragma once

#include <cstdint>
#include <functional>

namespace vestigo {

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
