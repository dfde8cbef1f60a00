// Work that needs an administrator's password.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/processes.h"
#include "platform/tasks.h"

namespace vestigo {

/// How a run ended: with an exit status, or with the reason why it could not be started.
struct AdministratorRun {
    int status = 0;
    std::optional<std::string> launchError;
};

/// Thread-safe; blocking, never called on the main thread.
class Administrator {
public:
    virtual ~Administrator() = default;
    /// Has the system ask for an administrator and runs the shell script at `script` as the
    /// superuser. A status other than 0 when the user cancelled or was refused. Once `cancel` is
    /// cancelled, an open question is withdrawn, and a script that runs is left to end alone: the
    /// call returns within a moment with another status than 0.
    [[nodiscard]] virtual AdministratorRun runScript(const std::string& script,
                                                     const CancelFlag& cancel) = 0;
};

class LaunchedAdministrator : public Administrator {
public:
    /// What the launcher is given for the script at this path.
    using Arguments = std::function<std::vector<std::string>(const std::string& script)>;

    LaunchedAdministrator(std::shared_ptr<Processes> processes, std::string launcher,
                          Arguments arguments);

    /// The launcher's own exit status.
    [[nodiscard]] AdministratorRun runScript(const std::string& script,
                                             const CancelFlag& cancel) override;

private:
    std::shared_ptr<Processes> processes_;
    std::string launcher_;
    Arguments arguments_;
};

}  // namespace vestigo
