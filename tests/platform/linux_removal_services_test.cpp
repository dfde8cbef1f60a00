#include <filesystem>
#include <future>

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/linux/linux_administrator.h"
#include "platform/linux/linux_owner_authentication.h"
#include "platform/posix/posix_files.h"
#include "platform/posix/posix_processes.h"
#include "platform/posix/thread_tasks.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

/// Scripts in the place of the system's programs. They note what they were given.
struct PolicyKitTest : testing::Test {
    std::string program(const std::string& name, const std::string& ending) {
        auto path = tree.file(name, "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" + tree.at(name) +
                                        ".given'\n" + ending + "\n");
        fs::permissions(path, fs::perms::owner_all);
        return path;
    }
    std::string given(const std::string& name) {
        return files.read(tree.at(name + ".given")).value_or("");
    }
    bool available(const std::string& actions, bool hasAgent = true) {
        return LinuxOwnerAuthentication(processes, {"", actions, hasAgent}).available();
    }
    bool confirms(const std::string& check) {
        std::promise<bool> answer;
        LinuxOwnerAuthentication(processes, {check, "", true})
            .authenticate("confirm", [&](bool value) { answer.set_value(value); });
        return answer.get_future().get();
    }

    test::TemporaryTree tree;
    PosixFiles files;
    std::shared_ptr<ThreadTasks> tasks = std::make_shared<ThreadTasks>();
    std::shared_ptr<PosixProcesses> processes = std::make_shared<PosixProcesses>(tasks);
};

TEST_F(PolicyKitTest, CanAskOnlyWhereTheActionIsKnownAndAnAgentIsThere) {
    const auto knows = program("knows", "exit 0");
    EXPECT_TRUE(available(knows));
    EXPECT_EQ(given("knows"), "--action-id\norg.vestigo.confirm-removal\n");
    EXPECT_FALSE(available(knows, false));
    EXPECT_FALSE(available(program("unknown", "exit 1")));
    EXPECT_FALSE(available(tree.at("missing")));
}

TEST_F(PolicyKitTest, IsConfirmedOnlyByStatusZero) {
    EXPECT_TRUE(confirms(program("yes", "exit 0")));
    const auto text = given("yes");
    EXPECT_TRUE(text.starts_with("--action-id\norg.vestigo.confirm-removal\n--process\n" +
                                 std::to_string(::getpid()) + ","))
        << text;
    EXPECT_TRUE(text.ends_with("," + std::to_string(::getuid()) + "\n--allow-user-interaction\n"));
    EXPECT_TRUE(confirms(program("nobody", "exit 2")));  // As where it is not available.
    for (const auto* ending : {"exit 1", "exit 3", "kill -9 $$"}) {
        EXPECT_FALSE(confirms(program("no", ending))) << ending;
    }
    EXPECT_FALSE(confirms(tree.at("missing")));
}

TEST_F(PolicyKitTest, RunsTheScriptThroughTheLauncherAndTellsItsEnd) {
    LinuxAdministrator administrator(processes, program("launcher", "exec \"$@\""));
    const auto script = tree.file("script", "touch '" + tree.at("done") + "'\nexit 5\n");
    const auto run = administrator.runScript(script);
    EXPECT_EQ(run.status, 5);
    EXPECT_EQ(run.launchError, std::nullopt);
    EXPECT_EQ(given("launcher"), "/bin/sh\n" + script + "\n");
    EXPECT_TRUE(fs::exists(tree.at("done")));
    EXPECT_EQ(
        LinuxAdministrator(processes, program("cancelled", "exit 126")).runScript(script).status,
        126);
    EXPECT_TRUE(LinuxAdministrator(processes, tree.at("missing")).runScript(script).launchError);
}

}  // namespace
}  // namespace vestigo
