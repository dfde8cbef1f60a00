// Runs scripts that need an administrator's password.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/processes.h"
#include "platform/tasks.h"

namespace vestigo {

/// The outcome of a run: its exit status, or the reason why it could not be started.
struct AdministratorRun {
    int status = 0;
    std::optional<std::string> launchError;
};

/// Thread-safe; blocking, never called on the main thread.
class Administrator {
public:
    virtual ~Administrator() = default;
    /// Has the system ask for an administrator and runs the shell script at `script` as the
    /// superuser. The status is not 0 when the user cancelled or was refused. Once `cancel` is
    /// cancelled, an open question is withdrawn, and a script that already runs is left to finish
    /// alone: the call returns within a moment with a status other than 0.
    [[nodiscard]] virtual AdministratorRun runScript(const std::string& script,
                                                     const CancelFlag& cancel) = 0;
};

/// Starts a program of the system, the launcher, that asks for the password and runs the script.
class LaunchedAdministrator : public Administrator {
public:
    /// Makes the launcher's arguments from the path of the script.
    using Arguments = std::function<std::vector<std::string>(const std::string& script)>;

    LaunchedAdministrator(std::shared_ptr<Processes> processes, std::string launcher,
                          Arguments arguments);

    /// Returns the launcher's own exit status.
    [[nodiscard]] AdministratorRun runScript(const std::string& script,
                                             const CancelFlag& cancel) override;

private:
    std::shared_ptr<Processes> processes_;
    std::string launcher_;
    Arguments arguments_;
};

}  // namespace vestigo
