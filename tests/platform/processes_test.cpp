// Programs that are followed to their end, and those that outlive this one.
#include "platform/posix/descriptor.h"
#include "platform/system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

using Followed = std::unique_ptr<LastingRun>;
using Output = std::function<void(std::string_view)>;

struct Result {
    std::optional<std::string> error;
    std::string output;
    std::optional<int> status;
};

ProcessStart shell(const std::string& script) {
    return {.program = "/bin/sh", .arguments = {"-c", script}, .environment = {}};
}

const ProcessStart missing{.program = "/missing", .arguments = {}, .environment = {}};

struct ProcessesTest : testing::Test {
    /// What comes after the end is lost.
    static Result run(const ProcessStart& what) {
        Result result;
        // The last one's end waits for the program.
        const auto processes = systemProcesses(systemTasks());
        result.error = processes->start(
            what,
            [&result](std::string_view chunk) {
                if (!result.status) result.output += chunk;
                if (chunk.starts_with("wait")) std::this_thread::sleep_for(500ms);
            },
            [&result](int status) { result.status = status; });
        return result;
    }
    static Result endOf(
        LastingRun& run, const Output& look = [](std::string_view) {}) {
        Result result;
        std::promise<void> ended;
        run.follow(
            [&](std::string_view chunk) {
                result.output += chunk;
                look(chunk);
            },
            [&](std::optional<int> status) {
                result.status = status;
                ended.set_value();
            });
        ended.get_future().wait();
        return result;
    }
    Result runLasting(const ProcessStart& what) {
        auto started = processes->start(what, folder, "note");
        if (const auto* const error = std::get_if<std::string>(&started)) return {*error, {}, {}};
        const auto run = std::get<Followed>(std::move(started));
        const auto result = endOf(*run);
        run->forget();
        EXPECT_TRUE(keepsNothing());
        return result;
    }
    Followed lasting(const std::string& script) {
        return std::get<Followed>(processes->start(shell(script), folder, "noted"));
    }
    /// A script that waits until `release` is called.
    [[nodiscard]] std::string waiting() const { return "read line < '" + fifo + "'"; }
    void release() const { std::ofstream(fifo) << "go\n"; }
    static void awaitEnd(const LastingRun& run) {
        while (run.running()) std::this_thread::sleep_for(5ms);
    }
    [[nodiscard]] bool keepsNothing() const { return fs::is_empty(folder); }
    static bool hasNoChildren() { return ::waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD; }

    test::TemporaryTree tree;
    std::string folder = tree.at("kept/runs");
    std::string fifo = tree.at("fifo");
    int made = ::mkfifo(fifo.c_str(), S_IRWXU);
    std::shared_ptr<LastingProcesses> processes = systemLastingProcesses(systemTasks());
};

TEST_F(ProcessesTest, AreExactlyTheProgramWithNothingOfThisOneButItsEnvironment) {
    constexpr int leaking = 77;
    const Descriptor input(::dup(STDIN_FILENO));
    const Descriptor typed(::open(tree.file("typed", "typed").c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(::dup2(typed.get(), STDIN_FILENO), STDIN_FILENO);
    ASSERT_EQ(::dup2(STDERR_FILENO, leaking), leaking);  // Without FD_CLOEXEC.
    const auto handler = std::signal(SIGPIPE, SIG_IGN);
    for (const auto* const name : {"KEPT", "REPLACED", "status"}) ::setenv(name, name, 1);
    const ProcessStart what{
        .program = "/bin/sh",
        .arguments = {"-c",
                      "printf '[%s]' \"$@\" $KEPT $REPLACED $NEW $status; cat;"
                      "for n in 3 4 5 6 77; do test -e /dev/fd/$n && echo leaked $n; done;"
                      "kill -0 -$$ 2>&- && echo leader; kill -PIPE $$",
                      "sh", "two words", "$(id)", "", "\xff'\n"},
        .environment = {{"REPLACED", "replaced"}, {"NEW", "new"}}};
    const auto direct = run(what);
    const auto lasting = runLasting(what);
    std::signal(SIGPIPE, handler);
    ::close(leaking);
    ::dup2(input.get(), STDIN_FILENO);
    const std::string seen = "[two words][$(id)][][\xff'\n][KEPT][replaced][new][status]";
    const auto variables =
        run({.program = "/usr/bin/env", .arguments = {}, .environment = {{"REPLACED", "replaced"}}})
            .output;
    EXPECT_EQ(variables.find("REPLACED="), variables.rfind("REPLACED="));
    EXPECT_EQ(direct.output, seen + "leader\n");
    EXPECT_EQ(lasting.output, seen);
    EXPECT_EQ(direct.status, 128 + SIGPIPE);
    EXPECT_EQ(lasting.status, 128 + SIGPIPE);
}

TEST_F(ProcessesTest, BringOutputAndErrorsInOrderAndThenTheStatusOrSayWhyTheyCannotStart) {
    const std::function<Result(const ProcessStart&)> ways[] = {
        run, [this](const ProcessStart& what) { return runLasting(what); }};
    for (const auto& start : ways) {
        const auto result = start(shell("echo out; echo err >&2; exit 3"));
        EXPECT_EQ(result.output, "out\nerr\n");
        EXPECT_EQ(result.status, 3);
        EXPECT_EQ(start(shell("kill -TERM $$")).status, 128 + SIGTERM);
        EXPECT_EQ(start(shell("exec >/dev/null 2>&1; ls /; exit 5")).status, 5);
        EXPECT_EQ(start(shell("head -c 20000000 /dev/zero")).output.size(), 20'000'000U);
        EXPECT_EQ(start(missing).error, "No such file or directory");
        EXPECT_FALSE(start(missing).status);
        EXPECT_EQ(start(shell(std::string(3'000'000, ' '))).error, "Argument list too long");
    }
    EXPECT_TRUE(keepsNothing());
    folder = tree.file("file") + "/runs";
    EXPECT_EQ(runLasting(shell("")).error, "Not a directory");
}

TEST_F(ProcessesTest, EndThoughWhatTheyLeftRunningKeepsThePipe) {
    // It stays until the FIFO is opened below, which is after the end.
    const auto result = run(shell("(" + waiting() + ") & echo wait; sleep 0.1; echo done"));
    EXPECT_EQ(result.output, "wait\ndone\n");
    EXPECT_EQ(result.status, 0);
    release();
}

TEST_F(ProcessesTest, EndWhenTheyAreCancelledOrAreLeftRunning) {
    const auto cancelled = [](const std::string& script, const CancelFlag& flag) {
        auto what = shell(script);
        what.cancel = flag;
        return run(what).status;
    };
    CancelFlag cancel;
    cancel.cancel();
    EXPECT_EQ(cancelled("exec sleep 1000", cancel), 128 + SIGTERM);
    EXPECT_EQ(cancelled("exec >&- 2>&-; exec sleep 1000", cancel), 128 + SIGTERM);
    const auto file = tree.at("id");
    CancelFlag onceItIsDeaf;
    const auto canceller = std::async(std::launch::async, [&] {
        while (!fs::exists(file)) std::this_thread::yield();
        onceItIsDeaf.cancel();
    });
    EXPECT_EQ(cancelled("trap '' TERM; echo $$ > '" + file + "'; exec sleep 1000", onceItIsDeaf),
              leftRunning);
    pid_t left = 0;
    std::ifstream(file) >> left;
    ASSERT_GT(left, 0);
    EXPECT_EQ(::kill(left, SIGKILL), 0);
    EXPECT_EQ(::waitpid(left, nullptr, 0), left);
}

TEST_F(ProcessesTest, LeaveNeitherDescriptorsNorZombies) {
    const auto free = ::dup(STDIN_FILENO);
    ::close(free);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(run(shell("exit 0")).status, 0);
        EXPECT_EQ(run(missing).output, "");
    }
    EXPECT_EQ(::dup(STDIN_FILENO), free);
    ::close(free);
    EXPECT_TRUE(hasNoChildren());
    EXPECT_EQ(runLasting(shell("exit 0")).status, 0);
    EXPECT_TRUE(hasNoChildren());
    // One that nobody has followed goes when the next is looked for.
    lasting("exit 0");
    siginfo_t ended;
    ASSERT_EQ(::waitid(P_ALL, 0, &ended, WEXITED | WNOWAIT), 0);
    EXPECT_TRUE(processes->takeOver(folder));
    EXPECT_TRUE(hasNoChildren());
}

TEST_F(ProcessesTest, OutliveTheProgramThatStartedThemHoweverItEnds) {
    for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGKILL, SIGABRT}) {
        const pid_t starter = ::fork();
        if (starter == 0) {
            ::setpgid(0, 0);
            // The threads of the test's own are not here, so nothing may wait for them.
            const auto kept = std::exchange(processes, systemLastingProcesses(systemTasks()));
            const auto run = lasting("echo before; " + waiting() + "; echo after; exit 7");
            std::signal(signal, SIG_DFL);
            ::kill(0, signal);  // The whole group, as a terminal does.
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(starter, &status, 0);
        EXPECT_EQ(WTERMSIG(status), signal);
        const auto run = processes->takeOver(folder);
        ASSERT_TRUE(run);
        EXPECT_EQ(run->note(), "noted");
        EXPECT_TRUE(run->running());
        release();
        const auto result = endOf(*run);
        EXPECT_EQ(result.output, "before\nafter\n");
        EXPECT_EQ(result.status, 7);
        run->forget();
    }
    EXPECT_TRUE(keepsNothing());
    EXPECT_EQ(runLasting(shell("trap 'exit 9' TERM; kill -TERM 0")).status, 9);
}

TEST_F(ProcessesTest, OfAnotherWindowAreFollowedByOneAtATime) {
    EXPECT_FALSE(processes->takeOver(folder));
    auto first = lasting(waiting());
    auto others = systemLastingProcesses(systemTasks());
    EXPECT_FALSE(processes->takeOver(folder) || others->takeOver(folder));
    // A child that is just being started has a copy of the descriptor that holds the run.
    const pid_t child = ::fork();
    if (child == 0) ::_exit(::pause());
    first.reset();
    auto second = others->takeOver(folder);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ASSERT_TRUE(second);
    EXPECT_FALSE(processes->takeOver(folder));
    // One who lets go while it is followed is told nothing more, and keeps nobody waiting.
    bool told = false;
    second->follow([](std::string_view) {}, [&told](std::optional<int>) { told = true; });
    second.reset();
    release();
    const auto third = processes->takeOver(folder);
    ASSERT_TRUE(third);
    EXPECT_EQ(endOf(*third).status, 0);
    third->forget();
    others.reset();
    EXPECT_FALSE(told || processes->takeOver(folder));
}

TEST_F(ProcessesTest, AreReadToTheirLastOutputInWholeLines) {
    const auto slow = lasting("echo first; " + waiting() + "; echo last");
    const auto waitForEnd = [&](std::string_view chunk) {
        if (!chunk.starts_with("first")) return;
        release();
        awaitEnd(*slow);
    };
    EXPECT_EQ(endOf(*slow, waitForEnd).output, "first\nlast\n");
    const auto much = lasting("yes ü | head -c 3000000");
    awaitEnd(*much);
    const auto whole = [](std::string_view chunk) { EXPECT_TRUE(chunk.ends_with("ü\n")); };
    EXPECT_EQ(endOf(*much, whole).output.size(), 3'000'000U);
}

TEST_F(ProcessesTest, KeepTheirNotesPrivateAndKnowNoEndThatWasNotPutAsideWhole) {
    const auto run = lasting("kill -KILL $PPID; echo last");
    const auto own = fs::directory_iterator(folder)->path();
    EXPECT_EQ(fs::status(own).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(own / "output").permissions(), fs::perms{0600});
    EXPECT_EQ(endOf(*run).status, std::nullopt);
    run->forget();
    tree.file("kept/runs/abcdef/note", "half");
    EXPECT_FALSE(processes->takeOver(folder));
    EXPECT_TRUE(keepsNothing());
    for (const auto* const name : {"note", "output", "status"}) {
        tree.file(std::string("kept/runs/abcdef/") + name, "12");
    }
    EXPECT_EQ(endOf(*processes->takeOver(folder)).status, std::nullopt);
}

}  // namespace
}  // namespace vestigo
