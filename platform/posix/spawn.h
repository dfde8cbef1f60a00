// Starting a program, as all that this program starts are started.
#pragma once

#include <sys/types.h>

#include "platform/processes.h"

namespace vestigo {

/// Starts a program in a session of its own, so that what ends this program from its terminal
/// leaves it alone. It inherits no blocked and no ignored signal and no descriptor but these two:
/// errors go where the output goes. Both lie above the standard descriptors; `input` may be
/// negative: there is then nothing to read. 0 and the child, which the caller waits for; else why
/// it could not be started, as errno has it.
[[nodiscard]] int spawn(const ProcessStart& what, int input, int output, pid_t& child);

}  // namespace vestigo
