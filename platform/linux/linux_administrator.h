// Runs a script as the superuser through PolicyKit.
#pragma once

#include <memory>
#include <string>

#include "platform/administrator.h"
#include "platform/processes.h"

namespace vestigo {

class LinuxAdministrator : public Administrator {
public:
    explicit LinuxAdministrator(std::shared_ptr<Processes> processes,
                                std::string launcher = "/usr/bin/pkexec");

    /// Status 126 when the user has dismissed the question, 127 when it was refused or could not be
    /// asked.
    [[nodiscard]] AdministratorRun runScript(const std::string& script) override;

private:
    std::shared_ptr<Processes> processes_;
    std::string launcher_;
};

}  // namespace vestigo
