// Programs started with posix_spawn.
#pragma once

#include <memory>

#include <sys/types.h>

#include "platform/processes.h"
#include "platform/tasks.h"

namespace vestigo {

/// Starts a program in a session of its own, so that what ends this program from its terminal
/// leaves it alone. It inherits no blocked and no ignored signal and no descriptor but these two:
/// errors go where the output goes. Both lie above the standard descriptors; `input` may be
/// negative: there is then nothing to read. 0 and the child, which the caller waits for; else why
/// it could not be started, as errno has it.
[[nodiscard]] int spawn(const ProcessStart& what, int input, int output, pid_t& child);

/// Each program runs in a session of its own, so that what ends this program from its terminal
/// leaves it alone. It inherits no descriptor, no blocked and no ignored signal. Chunks are at most
/// 64 KiB. What a program of its own leaves running is not waited for: what that writes after the
/// program's end goes nowhere.
class PosixProcesses : public Processes {
public:
    /// One task for each program, until it ends.
    explicit PosixProcesses(std::shared_ptr<BackgroundTasks> tasks);

    [[nodiscard]] std::optional<std::string> start(const ProcessStart& what,
                                                   std::function<void(std::string_view)> output,
                                                   std::function<void(int)> ended) override;

private:
    std::shared_ptr<BackgroundTasks> tasks_;
};

}  // namespace vestigo
