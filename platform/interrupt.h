// The user's Ctrl-C.
#pragma once

#include <functional>

namespace vestigo {

/// From now on the first SIGINT (or SIGTERM) calls `onInterrupt` once, on a thread of its own; a
/// second one ends the process as if nothing had been set up. Call it before any other thread is
/// started. A broken pipe no longer ends the process but fails the write.
void watchForInterrupt(std::function<void()> onInterrupt);

}  // namespace vestigo
