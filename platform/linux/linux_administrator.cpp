#include "platform/linux/linux_administrator.h"

#include <utility>

namespace vestigo {

LinuxAdministrator::LinuxAdministrator(std::shared_ptr<Processes> processes, std::string launcher)
    : LaunchedAdministrator(std::move(processes), std::move(launcher),
                            [](const std::string& script) {
                                return std::vector<std::string>{"/bin/sh", script};
                            }) {}

}  // namespace vestigo
