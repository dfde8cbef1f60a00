// Runs other programs.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/tasks.h"

namespace vestigo {

struct ProcessStart {
    std::string program;  ///< Absolute path.
    std::vector<std::string> arguments;
    /// Variables that are added to this program's environment, or replace those of the same name.
    std::map<std::string, std::string> environment;
    /// Once cancelled, the program is asked to end. When it has not ended a moment later, it is
    /// left running. Absent: it is never asked to end.
    std::optional<CancelFlag> cancel = {};
};

/// Reported in place of an exit status when a program was asked to end and keeps running.
inline constexpr int leftRunning = -2;

/// Thread-safe.
class Processes {
public:
    virtual ~Processes() = default;
    /// Starts a program without a shell. Its standard input is empty; output and errors come
    /// together through one pipe. `output` is called with each chunk as it arrives, and `ended`,
    /// after all output of the program itself, with the exit status (128 + the signal that ended
    /// it); both on one background thread. The destructor of the background tasks waits for the
    /// program, unless it was left running. Absent when the program runs, else the reason why it
    /// could not be started.
    [[nodiscard]] virtual std::optional<std::string> start(
        const ProcessStart& what, std::function<void(std::string_view)> output,
        std::function<void(int)> ended) = 0;
};

}  // namespace vestigo
