#include "platform/linux/linux_owner_authentication.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <future>
#include <sstream>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace vestigo {
namespace {

constexpr char action[] = "org.vestigo.confirm-removal";
// The window is blocked during this time.
constexpr std::chrono::seconds longestWait{1};
// Exit statuses of pkcheck.
constexpr int confirmed = 0;
constexpr int nobodyCanBeAsked = 2;  // The session has no agent; reported without delay.

/// Identifies this process for PolicyKit by number, start time and user: a later process with the
/// same number has another start time. Empty when the system does not tell.
std::string thisProcess() {
    std::ifstream file("/proc/self/stat");
    std::string line;
    std::getline(file, line);
    // The name in parentheses may hold anything; the start time is the 20th field after it.
    std::istringstream fields(line.substr(std::min(line.rfind(')') + 1, line.size())));
    std::string field;
    for (int i = 0; i < 20; ++i) fields >> field;
    if (!fields) return {};
    return std::to_string(::getpid()) + "," + field + "," + std::to_string(::getuid());
}

}  // namespace

LinuxOwnerAuthentication::LinuxOwnerAuthentication(std::shared_ptr<Processes> processes,
                                                   PolicyKitPlaces places)
    : processes_(std::move(processes)), places_(std::move(places)) {}

LinuxOwnerAuthentication::~LinuxOwnerAuthentication() {
    closing_.cancel();
}

bool LinuxOwnerAuthentication::available() {
    const auto status = std::make_shared<std::promise<int>>();
    auto ended = status->get_future();
    const auto error = processes_->start(
        {.program = places_.actions, .arguments = {"--action-id", action}, .environment = {}},
        [](std::string_view) {}, [status](int value) { status->set_value(value); });
    if (error) return false;
    // If PolicyKit has not answered in time, it is there and can probably ask.
    return ended.wait_for(longestWait) != std::future_status::ready || ended.get() == 0;
}

void LinuxOwnerAuthentication::authenticate(const std::string&, std::function<void(bool)> reply) {
    const auto error = processes_->start(
        {.program = places_.check,
         .arguments = {"--action-id", action, "--process", thisProcess(),
                       "--allow-user-interaction"},
         .environment = {},
         .cancel = closing_},
        [](std::string_view) {},
        [reply](int status) { reply(status == confirmed || status == nobodyCanBeAsked); });
    if (error) reply(false);
}

}  // namespace vestigo
