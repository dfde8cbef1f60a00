// Programs run beside this one.
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
    /// Set in the child beside, or in place of, what this program has in its environment.
    std::map<std::string, std::string> environment;
    /// Once cancelled, the program is asked to end within a moment, and left to itself when it
    /// does not. Absent: it never is.
    std::optional<CancelFlag> cancel = {};
};

/// In the place of the exit status of a program that was asked to end and goes on.
inline constexpr int leftRunning = -2;

/// Thread-safe.
class Processes {
public:
    virtual ~Processes() = default;
    /// Starts a program without a shell; its standard input is empty, its output and errors come
    /// together through one pipe. `output` is called with each chunk as it comes and `ended`, after
    /// all output that the program itself wrote, with the exit status (128 + the signal that ended
    /// it), both on one background thread. The destructor of what runs the threads waits for the
    /// child, unless that was left running. Absent when it runs, else why it could not be started.
    [[nodiscard]] virtual std::optional<std::string> start(
        const ProcessStart& what, std::function<void(std::string_view)> output,
        std::function<void(int)> ended) = 0;
};

}  // namespace vestigo
