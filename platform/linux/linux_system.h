// Runs a script as the superuser through PolicyKit.
#pragma once

#include <memory>
#include <string>

#include "platform/administrator.h"

namespace vestigo {

/// Status 126 when the user has dismissed the question, 127 when it was refused or could not be
/// asked.
class LinuxAdministrator : public LaunchedAdministrator {
public:
    explicit LinuxAdministrator(std::shared_ptr<Processes> processes,
                                std::string launcher = "/usr/bin/pkexec");
};

}  // namespace vestigo
