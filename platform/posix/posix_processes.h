// Starts programs with posix_spawn.
#pragma once

#include <memory>

#include <sys/types.h>

#include "platform/processes.h"
#include "platform/tasks.h"

namespace vestigo {

/// Starts a program in a session of its own, so that signals from this program's terminal do not
/// reach it. It inherits no blocked or ignored signals, and of the descriptors only `input` and
/// `output`; errors go to `output` as well. Both must be above the standard descriptors. A negative
/// `input` means an empty one. Returns 0 and the child, for which the caller has to wait, or else
/// the errno value that tells why it could not be started.
[[nodiscard]] int spawn(const ProcessStart& what, int input, int output, pid_t& child);

/// Each program runs in a session of its own, so that signals from this program's terminal do not
/// reach it, and inherits no descriptors and no blocked or ignored signals. Chunks are at most 64
/// KiB. Processes that the program leaves running are not waited for: what they write after its end
/// is lost.
class PosixProcesses : public Processes {
public:
    /// Each program occupies one of the tasks until it ends.
    explicit PosixProcesses(std::shared_ptr<BackgroundTasks> tasks);

    [[nodiscard]] std::optional<std::string> start(const ProcessStart& what,
                                                   std::function<void(std::string_view)> output,
                                                   std::function<void(int)> ended) override;

private:
    std::shared_ptr<BackgroundTasks> tasks_;
};

}  // namespace vestigo
