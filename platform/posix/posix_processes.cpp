// A task follows each program: it forwards the output and waits for the end. The end of the pipe is
// no sign of the end of the program: a process that it leaves running (a daemon, for example) may
// hold the pipe open for ever. So the task polls the pipe together with a descriptor that becomes
// readable when the child itself ends, then forwards only the bytes that are in the pipe at that
// moment. Where the system has no such descriptor, the end of the output has to serve.
//
// The child is waited for (waitpid) exactly once, by its task; until then its process number cannot
// be given to another process, and signalling it is safe.
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

constexpr std::size_t chunkSize = 65536;
constexpr int unknownStatus = -1;
constexpr int pollInterval = 100;  ///< In milliseconds, between looks at the CancelFlag.
constexpr std::chrono::seconds graceTime{1};

/// The descriptors, session and signals that a child gets before it becomes the program.
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
        // The system refuses to change these two.
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

    /// Returns 0, or the errno value that tells why the program could not be started.
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

/// An argument vector for exec; valid as long as the strings.
std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (auto& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

struct Pipe {
    Descriptor read;
    Descriptor write;
};

/// Both ends lie above the standard descriptors, even where this program has closed its own:
/// otherwise the child's standard descriptors would overwrite the pipe. A child that another thread
/// starts meanwhile gets neither end, as it inherits no descriptors. Absent with errno.
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

/// A running program and its output.
class Child {
public:
    /// Without an `end_` descriptor the program counts as ended when its output ends.
    Child(pid_t id, Descriptor output, std::optional<CancelFlag> cancel)
        : id_(id), output_(std::move(output)), cancel_(std::move(cancel)), end_(endOfChild(id)) {}

    /// Forwards the output until the program has ended. Returns its exit status, or `leftRunning`.
    int follow(const std::function<void(std::string_view)>& output) {
        for (;;) {
            switch (next()) {
                case Next::output: open_ = forwardOnce(output, chunkSize); break;
                case Next::abandoned: return leftRunning;
                case Next::end:
                    const int status = waitForEnd(id_);
                    if (open_) forwardRemaining(output);
                    return status;
            }
        }
    }

private:
    enum class Next : std::uint8_t { output, end, abandoned };

    /// Waits until there is output, the program has ended, or it is given up. The end is reported
    /// even while there is still output.
    Next next() {
        if (!open_ && !end_) return Next::end;
        std::array<pollfd, 2> waits{{{open_ ? output_.get() : -1, POLLIN, 0},
                                     {end_.get(), POLLIN, 0}}};  // -1 is passed over.
        for (;;) {
            if (hasGivenUp()) return Next::abandoned;
            const int ready = poll(waits.data(), waits.size(), cancel_ ? pollInterval : -1);
            if (ready > 0) return waits[1].revents != 0 ? Next::end : Next::output;
            if (ready < 0 && errno != EINTR) return Next::end;
        }
    }

    /// Asks the program to end, once. Returns true when it has not ended within the grace time: a
    /// program that runs as another user by now cannot be ended from here.
    bool hasGivenUp() {
        if (!cancel_ || !cancel_->cancelled()) return false;
        const auto now = std::chrono::steady_clock::now();
        if (!askedToEnd_) {
            kill(id_, SIGTERM);
            askedToEnd_ = now;
        }
        return now - *askedToEnd_ > graceTime;
    }

    /// Forwards the result of one read. False when nobody can write any more.
    bool forwardOnce(const std::function<void(std::string_view)>& output, std::size_t most) {
        ssize_t count = 0;
        do {
            count = read(output_.get(), buffer_.data(), std::min(most, buffer_.size()));
        } while (count < 0 && errno == EINTR);
        if (count <= 0) return false;
        latest_ = static_cast<std::size_t>(count);
        output({buffer_.data(), latest_});
        return true;
    }

    /// Forwards only the bytes that are in the pipe now. They include all output of the program
    /// itself, and processes that it left running may write for ever.
    void forwardRemaining(const std::function<void(std::string_view)>& output) {
        int held = 0;
        if (ioctl(output_.get(), FIONREAD, &held) != 0) return;
        for (auto rest = static_cast<std::size_t>(held); rest > 0; rest -= latest_) {
            if (!forwardOnce(output, rest)) return;
        }
    }

    pid_t id_;
    Descriptor output_;
    std::optional<CancelFlag> cancel_;
    std::optional<std::chrono::steady_clock::time_point> askedToEnd_;
    Descriptor end_;
    bool open_ = true;  ///< Some process can still write to the output.
    std::size_t latest_ = 0;
    std::array<char, chunkSize> buffer_;
};

}  // namespace

int spawn(const ProcessStart& what, int input, int output, pid_t& child) {
    std::vector<std::string> arguments{what.program};
    arguments.insert(arguments.end(), what.arguments.begin(), what.arguments.end());
    auto environment = childEnvironment(what.environment);
    return SpawnPlan(input, output)
        .run(child, pointers(arguments).data(), pointers(environment).data());
}

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
