// An administrator's run by a program that asks for the password itself.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/administrator.h"
#include "platform/processes.h"

namespace vestigo {

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
