// The user's Ctrl-C.
#pragma once

#include <functional>

namespace vestigo {

/// From now on a SIGINT or SIGTERM, unless it is being ignored, calls `onInterrupt` on a thread of
/// its own. When that gives false, and at the second signal, the process ends as if nothing had
/// been set up. Call it before any other thread is started. A broken pipe no longer ends the
/// process but fails the write.
void watchForInterrupt(std::function<bool()> onInterrupt);

}  // namespace vestigo
