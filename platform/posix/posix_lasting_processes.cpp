// A program is started through a shell, the supervisor, that does what its starter may not live to
// do: it leads the session, waits for the program and records its exit status. Each run has a
// folder with these files:
//
//   note    the starter's note. Only the supervisor holds a lock on it (through its standard
//           input, which it passes to nobody), so the run has ended when the lock is free. A
//           process number would not do: it can come to mean another process, while a lock cannot,
//           and no lock survives a restart of the computer.
//   output  the output of the program. It is read like any growing file, so a reader may come, go
//           and be killed without effect on the program.
//   status  the exit status in decimal, renamed into its place. Missing when the supervisor was
//           killed.
//
// The lock on a run's folder belongs to the one who follows the run. The lock on the folder of all
// runs is held while a run is created and while somebody looks for one, so nobody finds a run that
// is half created. If its creator is killed, a run has no "output", which is created last, and the
// next look removes it.
#include "platform/posix/posix_lasting_processes.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/posix/descriptor.h"
#include "platform/posix/folder_access.h"
#include "platform/posix/posix_files.h"
#include "platform/posix/posix_processes.h"

namespace vestigo {
namespace {

constexpr std::size_t chunkSize = 65536;
/// The two systems report the growth of a file in different ways, and not on every file system.
/// Reading at this interval works everywhere, and nobody notices the delay.
constexpr std::chrono::milliseconds readInterval{50};

/// The arguments are the path for the exit status, then the command. The trap keeps the supervisor
/// alive when its whole session is asked to end; the program itself gets those signals as usual.
/// The script uses no variables, since the program's environment might contain the same names.
constexpr const char* supervisorScript =
    R"(trap : HUP INT TERM
(shift; exec "$@" </dev/null)
echo $? >"$1.new" && exec /bin/mv -f "$1.new" "$1"
)";

std::string notePath(const std::string& folder) {
    return folder + "/note";
}
std::string outputPath(const std::string& folder) {
    return folder + "/output";
}
std::string statusPath(const std::string& folder) {
    return folder + "/status";
}

std::string lastError() {
    return std::generic_category().message(errno);
}

Descriptor openFile(const std::string& path, int flags) {
    return Descriptor(retrying(
        [&] { return ::open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR); }));
}

/// The descriptor lies above the standard ones even if this program has closed its own, so that the
/// child's standard descriptors do not overwrite it.
Descriptor makeFile(const std::string& path, int flags) {
    const auto file = openFile(path, flags | O_CREAT | O_EXCL);
    return Descriptor(::fcntl(file.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

bool lock(const Descriptor& file, int kind) {
    return file && retrying([&] { return ::flock(file.get(), kind); }) == 0;
}

/// Owns nothing when the folder is missing or, with LOCK_NB, when somebody else holds its lock.
Descriptor lockedFolder(const std::string& path, int kind) {
    auto folder = openFile(path, O_RDONLY | O_DIRECTORY);
    return lock(folder, kind) ? std::move(folder) : Descriptor();
}

/// Removes only a run's own files; any other file keeps the folder from being removed.
void removeRun(const std::string& folder) {
    for (const auto& path :
         {outputPath(folder), statusPath(folder), statusPath(folder) + ".new", notePath(folder)}) {
        ::unlink(path.c_str());
    }
    ::rmdir(folder.c_str());
}

/// Absent when no complete status was recorded.
std::optional<int> statusIn(const std::string& folder) {
    const auto text = PosixFiles().read(statusPath(folder));
    int status = 0;
    if (!text || !text->ends_with('\n')) return std::nullopt;
    const auto* const end = text->data() + text->size() - 1;
    const auto [stop, error] = std::from_chars(text->data(), end, status);
    return error == std::errc() && stop == end ? std::optional(status) : std::nullopt;
}

/// Whether the supervisor still runs. Tries the lock and releases it at once.
bool isHeldBySupervisor(const Descriptor& note) {
    if (!lock(note, LOCK_SH | LOCK_NB)) return note && errno == EWOULDBLOCK;
    lock(note, LOCK_UN);
    return false;
}

/// Forwards the output of a run on a background thread, until the run ends or `stop` is called.
class Follower {
public:
    Follower(std::string folder, std::function<void(std::string_view)> output,
             std::function<void(std::optional<int>)> ended)
        : folder_(std::move(folder)),
          note_(openFile(notePath(folder_), O_RDWR)),
          output_(openFile(outputPath(folder_), O_RDONLY)),
          onOutput_(std::move(output)),
          onEnd_(std::move(ended)) {}

    void run() {
        for (;;) {
            // This is asked before the output is read, so that nothing written before the end is
            // missed.
            const bool running = isHeldBySupervisor(note_);
            if (!forwardAvailable()) return;
            if (isStoppedWithin(running ? readInterval : std::chrono::milliseconds::zero())) return;
            if (!running) return onEnd_(statusIn(folder_));
        }
    }

    void stop() {
        const std::lock_guard guard(mutex_);
        stopped_ = true;
        changed_.notify_all();
    }

private:
    bool isStoppedWithin(std::chrono::milliseconds time) {
        std::unique_lock guard(mutex_);
        return changed_.wait_for(guard, time, [this] { return stopped_; });
    }

    /// Reads no more than the file holds now: processes that the program left running may write for
    /// ever. False when the follower was stopped.
    bool forwardAvailable() {
        struct stat status {};
        if (::fstat(output_.get(), &status) != 0) return true;
        while (position_ < status.st_size) {
            if (isStoppedWithin(std::chrono::milliseconds::zero())) return false;
            const auto count = retrying([this] {
                return ::pread(output_.get(), buffer_.data(), buffer_.size(), position_);
            });
            if (count <= 0) return true;
            forwardChunk({buffer_.data(), static_cast<std::size_t>(count)});
        }
        return true;
    }

    /// A full buffer may end within a line and within a character; it is cut behind its last line.
    void forwardChunk(std::string_view chunk) {
        const auto line = chunk.rfind('\n');
        if (chunk.size() == buffer_.size() && line != chunk.npos) chunk = chunk.substr(0, line + 1);
        position_ += static_cast<off_t>(chunk.size());
        onOutput_(chunk);
    }

    std::string folder_;
    Descriptor note_;
    Descriptor output_;
    std::function<void(std::string_view)> onOutput_;
    std::function<void(std::optional<int>)> onEnd_;
    off_t position_ = 0;
    std::array<char, chunkSize> buffer_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool stopped_ = false;
};

class PosixLastingRun : public LastingRun {
public:
    /// `held` is the open folder with its lock. `collect`, if any, is called on the follower's
    /// thread when the supervisor has ended.
    PosixLastingRun(std::string folder, Descriptor held, std::string note,
                    std::shared_ptr<BackgroundTasks> tasks, std::function<void()> collect)
        : folder_(std::move(folder)),
          held_(std::move(held)),
          note_(std::move(note)),
          tasks_(std::move(tasks)),
          collect_(std::move(collect)) {}
    ~PosixLastingRun() override {
        if (follower_) follower_->stop();
        // Released explicitly: a child that is being started at this moment may keep a copy of the
        // descriptor open for a while.
        lock(held_, LOCK_UN);
    }
    PosixLastingRun(const PosixLastingRun&) = delete;
    PosixLastingRun& operator=(const PosixLastingRun&) = delete;

    [[nodiscard]] const std::string& note() const override { return note_; }
    [[nodiscard]] bool running() const override {
        return isHeldBySupervisor(openFile(notePath(folder_), O_RDWR));
    }
    void follow(std::function<void(std::string_view)> output,
                std::function<void(std::optional<int>)> ended) override {
        follower_ = std::make_shared<Follower>(
            folder_, std::move(output),
            [collect = collect_, ended = std::move(ended)](std::optional<int> status) {
                if (collect) collect();
                ended(status);
            });
        tasks_->run(Priority::normal, [follower = follower_] { follower->run(); });
    }
    void forget() override { removeRun(folder_); }

private:
    std::string folder_;
    Descriptor held_;
    std::string note_;
    std::shared_ptr<BackgroundTasks> tasks_;
    std::function<void()> collect_;
    std::shared_ptr<Follower> follower_;
};

/// Creates the files of a run and starts its supervisor. Absent with errno.
std::optional<pid_t> startSupervisor(const std::string& folder, const ProcessStart& what,
                                     const std::string& note) {
    const auto noted = makeFile(notePath(folder), O_RDWR);
    if (!lock(noted, LOCK_EX | LOCK_NB)) return std::nullopt;
    const auto written = ::write(noted.get(), note.data(), note.size());
    if (written != static_cast<ssize_t>(note.size())) return std::nullopt;
    const auto output = makeFile(outputPath(folder), O_WRONLY | O_APPEND);
    if (!output) return std::nullopt;
    ProcessStart shell{
        .program = "/bin/sh",
        .arguments = {"-c", supervisorScript, "sh", statusPath(folder), what.program},
        .environment = what.environment};
    shell.arguments.insert(shell.arguments.end(), what.arguments.begin(), what.arguments.end());
    pid_t child = 0;
    errno = spawn(shell, noted.get(), output.get(), child);
    return errno == 0 ? std::optional(child) : std::nullopt;
}

}  // namespace

/// The supervisors that are children of this process. They have to be waited for, or they would
/// stay as zombies. Each number is waited for only while it is listed here: after that it may
/// belong to another child. Thread-safe.
class PosixLastingProcesses::Children {
public:
    void add(pid_t child) {
        const std::lock_guard guard(mutex_);
        ids_.push_back(child);
    }
    /// Waits for a supervisor that has released its lock, and so is about to end.
    void collect(pid_t child) {
        const std::lock_guard guard(mutex_);
        if (std::erase(ids_, child) == 0) return;
        retrying([child] { return ::waitpid(child, nullptr, 0); });
    }
    /// Collects supervisors that have ended without being followed to the end.
    void collectEnded() {
        const std::lock_guard guard(mutex_);
        std::erase_if(ids_, [](pid_t child) { return ::waitpid(child, nullptr, WNOHANG) != 0; });
    }

private:
    std::mutex mutex_;
    std::vector<pid_t> ids_;
};

PosixLastingProcesses::PosixLastingProcesses(std::shared_ptr<BackgroundTasks> tasks)
    : tasks_(std::move(tasks)), children_(std::make_shared<Children>()) {}

PosixLastingProcesses::~PosixLastingProcesses() = default;

LastingProcesses::Started PosixLastingProcesses::start(const ProcessStart& what,
                                                       const std::string& folder,
                                                       const std::string& note) {
    children_->collectEnded();
    // Checked here, since the supervisor could report it only in the output.
    if (::access(what.program.c_str(), X_OK) != 0) return lastError();
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    const auto all = lockedFolder(folder, LOCK_EX);
    auto own = folder + "/XXXXXX";
    if (!all || !::mkdtemp(own.data())) return lastError();
    auto held = lockedFolder(own, LOCK_EX | LOCK_NB);
    const auto child = held ? startSupervisor(own, what, note) : std::nullopt;
    if (!child) {
        auto reason = lastError();
        removeRun(own);
        return reason;
    }
    children_->add(*child);
    return std::make_unique<PosixLastingRun>(
        own, std::move(held), note, tasks_,
        [children = children_, id = *child] { children->collect(id); });
}

std::unique_ptr<LastingRun> PosixLastingProcesses::takeOver(const std::string& folder) {
    children_->collectEnded();
    const auto all = lockedFolder(folder, LOCK_EX);
    if (!all) return nullptr;
    for (const auto& name : namesIn(all.get()).value_or(std::vector<std::string>())) {
        const auto own = folder + "/" + name;
        auto held = lockedFolder(own, LOCK_EX | LOCK_NB);
        if (!held) continue;
        auto note = PosixFiles().read(notePath(own));
        if (note && PosixFiles().exists(outputPath(own))) {
            return std::make_unique<PosixLastingRun>(own, std::move(held), std::move(*note), tasks_,
                                                     nullptr);
        }
        removeRun(own);
    }
    return nullptr;
}

}  // namespace vestigo
