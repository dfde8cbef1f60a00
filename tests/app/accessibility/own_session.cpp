#include "tests/app/accessibility/own_session.h"

#include <sys/prctl.h>

#include "tests/support/test.h"

namespace vestigo::test {
namespace {

std::string lineFrom(int descriptor) {
    std::string line;
    for (char byte = 0; read(descriptor, &byte, 1) == 1 && byte != '\n';) line += byte;
    return line;
}

}  // namespace

OwnSession::OwnSession(const std::string& home) {
    for (const auto* const name :
         {"HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
        setenv(name, home.c_str(), 1);
    }
    const auto display =
        start({"Xvfb", "-screen", "0", "1600x1100x24", "-nolisten", "tcp"}, "-displayfd ");
    const auto bus = start({"dbus-daemon", "--session", "--nofork"}, "--print-address=");
    if (display.empty()) missing_ = "Xvfb does not start";
    if (bus.empty()) missing_ = "dbus-daemon does not start";
    if (!missing_.empty()) return;
    setenv("DISPLAY", (":" + display).c_str(), 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.c_str(), 1);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    setenv("QT_XCB_GL_INTEGRATION", "none", 1);
    setenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1", 1);
    unsetenv("AT_SPI_BUS_ADDRESS");
}

OwnSession::~OwnSession() {
    for (const auto server : servers_) {
        kill(server, SIGTERM);
        waitpid(server, nullptr, 0);
    }
}

/// The line that a server writes when it is ready; empty when it is not.
std::string OwnSession::start(std::vector<std::string> command,
                              const std::string& descriptorOption) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return {};
    const auto number = std::to_string(ends[1]);
    if (descriptorOption.ends_with(' ')) {
        command.push_back(descriptorOption.substr(0, descriptorOption.size() - 1));
        command.push_back(number);
    } else {
        command.push_back(descriptorOption + number);
    }
    std::vector<char*> arguments;
    for (auto& argument : command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    const pid_t server = fork();
    if (server == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        fcntl(ends[1], F_SETFD, 0);
        dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    close(ends[1]);
    servers_.push_back(server);
    auto line = lineFrom(ends[0]);
    close(ends[0]);
    return line;
}

}  // namespace vestigo::test
