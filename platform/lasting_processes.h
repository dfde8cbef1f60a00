// Programs that go on whatever becomes of this one.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "platform/processes.h"

namespace vestigo {

/// One such program, from its start until somebody has been told its end. Whoever has this follows
/// it, and nobody else gets it meanwhile, neither in this program nor in another. Destroying this
/// lets go of it: the program goes on and may be taken over. One thread only.
class LastingRun {
public:
    virtual ~LastingRun() = default;
    /// What was noted about it at its start; any bytes.
    [[nodiscard]] virtual const std::string& note() const = 0;
    /// Whether the program has not ended yet.
    [[nodiscard]] virtual bool running() const = 0;
    /// To be called once. `output` is called with each chunk of what the program has written since
    /// its start, as it comes; `ended`, after all that it wrote itself, with its exit status (128 +
    /// the signal that ended it). That is absent where nobody knows it, as when the computer was
    /// restarted meanwhile. Both are called on one background thread, and no more once this has
    /// been destroyed but for a call that is under way then.
    virtual void follow(std::function<void(std::string_view)> output,
                        std::function<void(std::optional<int>)> ended) = 0;
    /// Removes all that is kept of a program that has ended.
    virtual void forget() = 0;
};

/// One thread only.
class LastingProcesses {
public:
    /// Else why it could not be started.
    using Started = std::variant<std::unique_ptr<LastingRun>, std::string>;

    virtual ~LastingProcesses() = default;
    /// Starts a program without a shell; its standard input is empty. Its output and errors, its
    /// exit status and the note are kept in a folder of its own in `folder`, which is made where it
    /// is missing and is for the user's eyes only. Nothing that ends this program, its session or
    /// its terminal reaches the program; `what.cancel` is ignored.
    [[nodiscard]] virtual Started start(const ProcessStart& what, const std::string& folder,
                                        const std::string& note) = 0;
    /// One of the programs started with this folder that nobody follows. Null when there is none.
    [[nodiscard]] virtual std::unique_ptr<LastingRun> takeOver(const std::string& folder) = 0;
};

}  // namespace vestigo
