#include "platform/lasting_processes.h"

#include "platform/system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

using Followed = std::unique_ptr<LastingRun>;

struct Result {
    std::string output;
    std::optional<int> status;
};

Result endOf(LastingRun& run) {
    Result result;
    std::promise<void> ended;
    run.follow([&result](std::string_view chunk) { result.output += chunk; },
               [&](std::optional<int> status) {
                   result.status = status;
                   ended.set_value();
               });
    ended.get_future().wait();
    return result;
}

class LastingProcessesTest : public testing::Test {
protected:
    LastingProcesses::Started start(const ProcessStart& what) {
        return processes->start(what, folder, "a\0note");
    }
    Followed shell(const std::string& script,
                   const std::map<std::string, std::string>& changes = {}) {
        auto started =
            start({.program = "/bin/sh", .arguments = {"-c", script}, .environment = changes});
        return std::get<Followed>(std::move(started));
    }
    /// A script that waits until `release` is called.
    [[nodiscard]] std::string waiting() const { return "read line < '" + fifo + "'"; }
    void release() const { std::ofstream(fifo) << "go\n"; }
    [[nodiscard]] bool keepsNothing() const { return fs::is_empty(folder); }

    test::TemporaryTree tree;
    std::string folder = tree.at("kept/runs");
    std::string fifo = tree.at("fifo");
    int made = mkfifo(fifo.c_str(), S_IRWXU);
    std::shared_ptr<LastingProcesses> processes = systemLastingProcesses(systemTasks());
};

TEST_F(LastingProcessesTest, BringOutputInOrderAndThenTheStatusAndLeaveNothing) {
    const auto run = shell("echo out; echo err >&2; exit 3");
    const auto own = fs::directory_iterator(folder)->path();
    EXPECT_EQ(fs::status(own).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(own / "output").permissions(),
              fs::perms::owner_read | fs::perms::owner_write);
    const auto result = endOf(*run);
    EXPECT_EQ(result.output, "out\nerr\n");
    EXPECT_EQ(result.status, 3);
    EXPECT_FALSE(run->running());
    run->forget();
    EXPECT_TRUE(keepsNothing());
    EXPECT_EQ(endOf(*shell("kill -TERM $$")).status, 128 + SIGTERM);
    EXPECT_EQ(endOf(*shell("yes ü | head -c 3000000")).output.size(), 3'000'000U);
}

TEST_F(LastingProcessesTest, RunExactlyTheCommandWithItsEnvironmentAndNothingElse) {
    setenv("KEPT", "kept", 1);
    setenv("status", "mine", 1);
    const auto handler = std::signal(SIGPIPE, SIG_IGN);
    auto started = start({.program = "/bin/sh",
                          .arguments = {"-c",
                                        "printf '[%s]' \"$@\" $KEPT $status $NEW; cat;"
                                        "for n in 3 4 5 6; do test -e /dev/fd/$n && echo $n; done;"
                                        "kill -PIPE $$",
                                        "sh", "two words", "$(id)", "", "\xff'\n"},
                          .environment = {{"NEW", "new"}}});
    std::signal(SIGPIPE, handler);
    const auto result = endOf(*std::get<Followed>(started));
    EXPECT_EQ(result.output, "[two words][$(id)][][\xff'\n][kept][mine][new]");
    EXPECT_EQ(result.status, 128 + SIGPIPE);
}

TEST_F(LastingProcessesTest, OutliveTheProgramThatStartedThemHoweverItEnds) {
    for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGKILL, SIGABRT}) {
        const pid_t starter = fork();
        if (starter == 0) {
            setpgid(0, 0);
            // Not the one of the test: its threads are not here.
            const auto run =
                systemLastingProcesses(systemTasks())
                    ->start(
                        {.program = "/bin/sh",
                         .arguments = {"-c", "echo before; " + waiting() + "; echo after; exit 7"},
                         .environment = {}},
                        folder, "noted");
            std::signal(signal, SIG_DFL);
            kill(0, signal);  // The whole group, as a terminal does.
            _exit(0);
        }
        int status = 0;
        waitpid(starter, &status, 0);
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
}

TEST_F(LastingProcessesTest, AreFollowedByOneAtATime) {
    EXPECT_FALSE(processes->takeOver(folder));
    auto first = shell(waiting());
    const auto others = systemLastingProcesses(systemTasks());
    EXPECT_FALSE(processes->takeOver(folder) || others->takeOver(folder));
    first.reset();
    auto second = others->takeOver(folder);
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
    EXPECT_FALSE(told || processes->takeOver(folder));
}

TEST_F(LastingProcessesTest, HaveAnUnknownEndWhereNobodyPutTheStatusAside) {
    const auto run = shell("kill -KILL $PPID; echo last");
    EXPECT_EQ(endOf(*run).status, std::nullopt);
}

TEST_F(LastingProcessesTest, SurviveWhatAsksTheWholeSessionToEnd) {
    const auto run = shell("trap 'exit 9' TERM; kill -TERM 0");
    EXPECT_EQ(endOf(*run).status, 9);
}

TEST_F(LastingProcessesTest, SayWhyTheyCannotStartAndClearAwayWhatWasHalfMade) {
    EXPECT_EQ(
        std::get<std::string>(start({.program = "/missing", .arguments = {}, .environment = {}})),
        "No such file or directory");
    tree.file("kept/runs/abcdef/note", "half");
    EXPECT_FALSE(processes->takeOver(folder));
    EXPECT_TRUE(keepsNothing());
    folder = tree.file("file") + "/runs";
    EXPECT_EQ(
        std::get<std::string>(start({.program = "/bin/sh", .arguments = {}, .environment = {}})),
        "Not a directory");
}

}  // namespace
}  // namespace vestigo
