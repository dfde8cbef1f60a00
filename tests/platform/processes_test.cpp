#include "platform/system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

struct Result {
    std::optional<std::string> error;
    std::string output;
    std::optional<int> status;
};

/// Starts the program and waits for its end; what came after the end is lost.
Result run(const ProcessStart& what) {
    Result result;
    // The last one's end waits for the program.
    const auto processes = systemProcesses(systemTasks());
    result.error = processes->start(
        what,
        [&result](std::string_view chunk) {
            if (result.status) return;
            result.output += chunk;
            if (chunk.starts_with("wait")) std::this_thread::sleep_for(std::chrono::seconds(1));
        },
        [&result](int status) { result.status = status; });
    return result;
}

Result shell(const std::string& script) {
    return run({.program = "/bin/sh", .arguments = {"-c", script}, .environment = {}});
}

TEST(Processes, BringOutputAndErrorsInOrderAndThenTheStatus) {
    const auto result = shell("echo out; echo err >&2; exit 3");
    EXPECT_EQ(result.output, "out\nerr\n");
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(shell("kill -TERM $$").status, 128 + SIGTERM);
    EXPECT_EQ(shell("exec >/dev/null 2>&1; ls /; exit 5").status, 5);
    EXPECT_EQ(shell("head -c 20000000 /dev/zero").output.size(), 20'000'000U);
}

TEST(Processes, HandOnArgumentsUntouchedAndTheEnvironmentWithItsChanges) {
    setenv("KEPT", "kept", 1);
    setenv("REPLACED", "old", 1);
    const auto result = run({.program = "/bin/sh",
                             .arguments = {"-c", "printf '[%s]' \"$@\" $KEPT $REPLACED $NEW", "sh",
                                           "two words", "$(id)", "", "\xff'\n"},
                             .environment = {{"REPLACED", "replaced"}, {"NEW", "new"}}});
    EXPECT_EQ(result.output, "[two words][$(id)][][\xff'\n][kept][replaced][new]");
}

TEST(Processes, EndThoughWhatTheyLeftRunningKeepsThePipe) {
    const test::TemporaryTree tree;
    const auto fifo = tree.at("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    // It stays until the FIFO is opened below, which is after the end.
    const auto result = shell("(read line < '" + fifo + "') & echo wait; sleep 0.1; echo done");
    EXPECT_EQ(result.output, "wait\ndone\n");
    EXPECT_EQ(result.status, 0);
    std::ofstream(fifo) << "go\n";
}

TEST(Processes, InheritNoInputNoDescriptorNoSessionAndNoIgnoredSignal) {
    constexpr int leaking = 77;
    ASSERT_EQ(dup2(STDERR_FILENO, leaking), leaking);  // Without FD_CLOEXEC.
    const auto handler = std::signal(SIGPIPE, SIG_IGN);
    const auto result = shell(
        "cat; for n in 3 4 5 6 77; do test -e /dev/fd/$n && echo leaked $n; done;"
        "kill -0 -$$ && echo leader; kill -PIPE $$");
    std::signal(SIGPIPE, handler);
    close(leaking);
    EXPECT_EQ(result.output, "leader\n");
    EXPECT_EQ(result.status, 128 + SIGPIPE);
}

TEST(Processes, EndWhenTheyAreCancelledOrAreLeftRunning) {
    CancelFlag cancel;
    cancel.cancel();
    const auto cancelled = [](const std::string& script, const CancelFlag& flag) {
        return run({.program = "/bin/sh",
                    .arguments = {"-c", script},
                    .environment = {},
                    .cancel = flag})
            .status;
    };
    EXPECT_EQ(cancelled("exec sleep 1000", cancel), 128 + SIGTERM);
    EXPECT_EQ(cancelled("exec >&- 2>&-; exec sleep 1000", cancel), 128 + SIGTERM);
    const test::TemporaryTree tree;
    const auto file = tree.at("id");
    CancelFlag onceItIsDeaf;
    std::thread canceller([&] {
        while (!std::filesystem::exists(file)) std::this_thread::yield();
        onceItIsDeaf.cancel();
    });
    EXPECT_EQ(cancelled("trap '' TERM; echo $$ > '" + file + "'; exec sleep 1000", onceItIsDeaf),
              leftRunning);
    canceller.join();
    pid_t left = 0;
    std::ifstream(file) >> left;
    ASSERT_GT(left, 0);
    EXPECT_EQ(kill(left, SIGKILL), 0);
    EXPECT_EQ(waitpid(left, nullptr, 0), left);
}

TEST(Processes, LeaveNeitherDescriptorsNorZombiesAndSayWhyTheyCannotStart) {
    const auto free = dup(STDIN_FILENO);
    close(free);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(shell("exit 0").status, 0);
        const auto missing = run({.program = "/missing", .arguments = {}, .environment = {}});
        EXPECT_EQ(missing.error, "No such file or directory");
        EXPECT_FALSE(missing.status);
    }
    EXPECT_EQ(dup(STDIN_FILENO), free);
    close(free);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

}  // namespace
}  // namespace vestigo
