// Programs that keep running whatever happens to this one.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "platform/processes.h"

namespace vestigo {

/// One such program, from its start until its end has been reported. The owner of this object has
/// the run alone: no other part of this or any other program can take it over meanwhile. Destroying
/// the object releases the run; the program keeps running and may be taken over. One thread only.
class LastingRun {
public:
    virtual ~LastingRun() = default;
    /// The note that was given at its start; any bytes.
    [[nodiscard]] virtual const std::string& note() const = 0;
    /// Whether the program has not ended yet.
    [[nodiscard]] virtual bool running() const = 0;
    /// Called once. `output` receives everything that the program has written since its start, in
    /// chunks as they arrive. `ended` is called after the program's own output with its exit status
    /// (128 + the signal that ended it), or with none where it is unknown, as when the computer was
    /// restarted. Both are called on one background thread. Once the object is destroyed neither is
    /// called any more, but a call that is already running may still finish.
    virtual void follow(std::function<void(std::string_view)> output,
                        std::function<void(std::optional<int>)> ended) = 0;
    /// Removes the files of a run whose program has ended.
    virtual void forget() = 0;
};

/// One thread only.
class LastingProcesses {
public:
    /// The run, or the reason why it could not be started.
    using Started = std::variant<std::unique_ptr<LastingRun>, std::string>;

    virtual ~LastingProcesses() = default;
    /// Starts a program without a shell; its standard input is empty. Output and errors, exit
    /// status and note are kept in a new folder inside `folder`, which is created where it is
    /// missing; only the user may read the new folder. The program is not reached by what ends this
    /// program, its session or its terminal; `what.cancel` is ignored.
    [[nodiscard]] virtual Started start(const ProcessStart& what, const std::string& folder,
                                        const std::string& note) = 0;
    /// Takes over one of the runs in this folder that nobody owns. Null when there is none.
    [[nodiscard]] virtual std::unique_ptr<LastingRun> takeOver(const std::string& folder) = 0;
};

}  // namespace vestigo
