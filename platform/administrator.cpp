#include "platform/administrator.h"

#include <future>
#include <string_view>
#include <utility>

namespace vestigo {

LaunchedAdministrator::LaunchedAdministrator(std::shared_ptr<Processes> processes,
                                             std::string launcher, Arguments arguments)
    : processes_(std::move(processes)),
      launcher_(std::move(launcher)),
      arguments_(std::move(arguments)) {}

AdministratorRun LaunchedAdministrator::runScript(const std::string& script,
                                                  const CancelFlag& cancel) {
    const auto status = std::make_shared<std::promise<int>>();
    auto error = processes_->start(
        {.program = launcher_,
         .arguments = arguments_(script),
         .environment = {},
         .cancel = cancel},
        [](std::string_view) {}, [status](int value) { status->set_value(value); });
    if (error) {
        return {.status = 127,
                .launchError = "System items were not removed: “" + launcher_ +
                               "” could not be started (" + *error + ")."};
    }
    return {.status = status->get_future().get(), .launchError = std::nullopt};
}

}  // namespace vestigo
