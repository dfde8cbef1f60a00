#include "platform/posix/spawn.h"

#include <csignal>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include "platform/posix/system_calls.h"

extern char** environ;

namespace vestigo {
namespace {

/// What the child does before it becomes the program.
class SpawnPlan {
public:
    SpawnPlan(int input, int output) {
        posix_spawn_file_actions_init(&actions_);
        if (input < 0) {
            posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        } else {
            posix_spawn_file_actions_adddup2(&actions_, input, STDIN_FILENO);
        }
        posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions_, output, STDERR_FILENO);
        constexpr int ownSession = POSIX_SPAWN_SETSID;
        constexpr int freshSignals = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
        const int noDescriptors = passNoOtherDescriptors(actions_);
        posix_spawnattr_init(&attributes_);
        posix_spawnattr_setflags(&attributes_,
                                 static_cast<short>(ownSession | freshSignals | noDescriptors));
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes_, &signals);
        sigfillset(&signals);
        // What cannot be changed must not be asked for.
        sigdelset(&signals, SIGKILL);
        sigdelset(&signals, SIGSTOP);
        posix_spawnattr_setsigdefault(&attributes_, &signals);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;
    ~SpawnPlan() {
        posix_spawnattr_destroy(&attributes_);
        posix_spawn_file_actions_destroy(&actions_);
    }

    /// 0, or the error that kept the program from starting.
    int run(pid_t& child, char* const* arguments, char* const* environment) const {
        return posix_spawn(&child, arguments[0], &actions_, &attributes_, arguments, environment);
    }

private:
    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
};

std::vector<std::string> childEnvironment(const std::map<std::string, std::string>& changes) {
    std::vector<std::string> lines;
    for (char** line = environ; line && *line; ++line) {
        const std::string_view text = *line;
        const auto name = text.substr(0, text.find('='));
        if (!changes.contains(std::string(name))) lines.emplace_back(text);
    }
    for (const auto& [name, value] : changes) {
        auto line = name;
        lines.push_back(line.append("=").append(value));
    }
    return lines;
}

/// As exec takes it; good as long as the strings.
std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (auto& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

}  // namespace

int spawn(const ProcessStart& what, int input, int output, pid_t& child) {
    std::vector<std::string> arguments{what.program};
    arguments.insert(arguments.end(), what.arguments.begin(), what.arguments.end());
    auto environment = childEnvironment(what.environment);
    return SpawnPlan(input, output)
        .run(child, pointers(arguments).data(), pointers(environment).data());
}

}  // namespace vestigo
