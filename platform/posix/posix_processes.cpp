#include "platform/posix/posix_processes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/posix/descriptor.h"
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

namespace {

constexpr std::size_t chunkSize = 65536;
constexpr int unknownStatus = -1;
constexpr int pollInterval = 100;  ///< In milliseconds, of looking whether a program is cancelled.
constexpr std::chrono::seconds timeToEnd{1};

struct Pipe {
    Descriptor read;
    Descriptor write;
};

/// Absent with errno set. Above the standard descriptors even where this program has closed its
/// own, so that the child's can be put there without treading on the pipe. Nothing that is started
/// here meanwhile inherits the two that come first.
std::optional<Pipe> makePipe() {
    constexpr int firstFree = STDERR_FILENO + 1;
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) return std::nullopt;
    const Pipe low{Descriptor(ends[0]), Descriptor(ends[1])};
    Pipe pipe{Descriptor(fcntl(ends[0], F_DUPFD_CLOEXEC, firstFree)),
              Descriptor(fcntl(ends[1], F_DUPFD_CLOEXEC, firstFree))};
    if (!pipe.read || !pipe.write) return std::nullopt;
    return pipe;
}

int waitForEnd(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return unknownStatus;
    }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

/// A program that runs, and its output.
class Child {
public:
    /// Where the end cannot be waited for together with the output, the output's end comes first.
    Child(pid_t id, Descriptor output, std::optional<CancelFlag> cancel)
        : id_(id), output_(std::move(output)), cancel_(std::move(cancel)), end_(endOfChild(id)) {}

    /// Hands on the output until the program has ended; its exit status, or `leftRunning`.
    int follow(const std::function<void(std::string_view)>& output) {
        for (;;) {
            switch (next()) {
                case Next::output: open_ = handOn(output, chunkSize); break;
                case Next::left: return leftRunning;
                case Next::end:
                    const int status = waitForEnd(id_);
                    if (open_) drain(output);
                    return status;
            }
        }
    }

private:
    enum class Next : std::uint8_t { output, end, left };

    /// Waits for output, for the end, whether it left output or not, or until it is not waited for
    /// any more.
    Next next() {
        if (!open_ && !end_) return Next::end;
        std::array<pollfd, 2> waits{{{open_ ? output_.get() : -1, POLLIN, 0},
                                     {end_.get(), POLLIN, 0}}};  // -1 is passed over.
        for (;;) {
            if (endedWaiting()) return Next::left;
            const int ready = poll(waits.data(), waits.size(), cancel_ ? pollInterval : -1);
            if (ready > 0) return waits[1].revents != 0 ? Next::end : Next::output;
            if (ready < 0 && errno != EINTR) return Next::end;
        }
    }

    /// A program that has got more rights meanwhile cannot be ended by this one.
    bool endedWaiting() {
        if (!cancel_ || !cancel_->cancelled()) return false;
        const auto now = std::chrono::steady_clock::now();
        if (!askedToEnd_) {
            kill(id_, SIGTERM);
            askedToEnd_ = now;
        }
        return now - *askedToEnd_ > timeToEnd;
    }

    /// One read. False when nobody can write any more.
    bool handOn(const std::function<void(std::string_view)>& output, std::size_t most) {
        ssize_t count = 0;
        do {
            count = read(output_.get(), buffer_.data(), std::min(most, buffer_.size()));
        } while (count < 0 && errno == EINTR);
        if (count <= 0) return false;
        latest_ = static_cast<std::size_t>(count);
        output({buffer_.data(), latest_});
        return true;
    }

    /// Only what the pipe holds now, which is all that the program wrote: what it has left running
    /// may write for ever.
    void drain(const std::function<void(std::string_view)>& output) {
        int held = 0;
        if (ioctl(output_.get(), FIONREAD, &held) != 0) return;
        for (auto left = static_cast<std::size_t>(held); left > 0; left -= latest_) {
            if (!handOn(output, left)) return;
        }
    }

    pid_t id_;
    Descriptor output_;
    std::optional<CancelFlag> cancel_;
    std::optional<std::chrono::steady_clock::time_point> askedToEnd_;
    Descriptor end_;
    bool open_ = true;  ///< Somebody can still write to the output.
    std::size_t latest_ = 0;
    std::array<char, chunkSize> buffer_;
};

}  // namespace

PosixProcesses::PosixProcesses(std::shared_ptr<BackgroundTasks> tasks) : tasks_(std::move(tasks)) {}

std::optional<std::string> PosixProcesses::start(const ProcessStart& what,
                                                 std::function<void(std::string_view)> output,
                                                 std::function<void(int)> ended) {
    auto pipe = makePipe();
    if (!pipe) return std::generic_category().message(errno);
    pid_t id = 0;
    const int error = spawn(what, -1, pipe->write.get(), id);
    if (error != 0) return std::generic_category().message(error);
    auto child = std::make_shared<Child>(id, std::move(pipe->read), what.cancel);
    pipe.reset();
    tasks_->run(Priority::normal, [child = std::move(child), output = std::move(output),
                                   ended = std::move(ended)]() mutable {
        const int status = child->follow(output);
        child.reset();
        ended(status);
    });
    return std::nullopt;
}

}  // namespace vestigo
