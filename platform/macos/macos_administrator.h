// Runs a script as the superuser through the system's AppleScript runner.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/administrator.h"
#include "platform/processes.h"

namespace vestigo {

class MacOSAdministrator : public Administrator {
public:
    /// What the runner is given so that it asks for an administrator and runs the script at a path.
    using Arguments = std::function<std::vector<std::string>(const std::string& script)>;

    MacOSAdministrator(std::shared_ptr<Processes> processes, Arguments arguments,
                       std::string launcher = "/usr/bin/osascript");

    [[nodiscard]] AdministratorRun runScript(const std::string& script) override;

private:
    std::shared_ptr<Processes> processes_;
    Arguments arguments_;
    std::string launcher_;
};

}  // namespace vestigo
