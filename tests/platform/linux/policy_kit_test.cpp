#include "platform/linux/linux_owner_authentication.h"
#include "platform/system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

/// Scripts in the place of the system's programs. They note what they were given.
struct PolicyKitTest : testing::Test {
    std::string program(const std::string& ending) {
        auto path = tree.file("program", "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" + tree.at("given") +
                                             "'\n" + ending + "\n");
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path;
    }
    std::string given() { return systemFiles()->read(tree.at("given")).value_or(""); }
    bool available(const std::string& actions) {
        return LinuxOwnerAuthentication(processes, {"", actions}).available();
    }
    bool confirms(const std::string& check) {
        std::promise<bool> answer;
        LinuxOwnerAuthentication authentication(processes, {check, ""});
        authentication.authenticate("confirm", [&](bool value) { answer.set_value(value); });
        return answer.get_future().get();
    }

    test::TemporaryTree tree;
    std::shared_ptr<Processes> processes = systemProcesses(systemTasks());
};

TEST_F(PolicyKitTest, CanAskWhereTheActionIsKnownWhateverTheDesktop) {
    ::unsetenv("XDG_CURRENT_DESKTOP");
    EXPECT_TRUE(available(program("exit 0")));
    EXPECT_EQ(given(), "--action-id\norg.vestigo.confirm-removal\n");
    EXPECT_FALSE(available(program("exit 1")));
    EXPECT_FALSE(available(tree.at("missing")));
    EXPECT_TRUE(available(program("exec sleep 3")));
}

TEST_F(PolicyKitTest, IsConfirmedOnlyByStatusZero) {
    EXPECT_TRUE(confirms(program("exit 0")));
    EXPECT_TRUE(given().starts_with("--action-id\norg.vestigo.confirm-removal\n--process\n" +
                                    std::to_string(::getpid()) + ","));
    EXPECT_TRUE(given().ends_with("\n--allow-user-interaction\n"));
    EXPECT_TRUE(confirms(program("exit 2")));  // As where the session has no agent.
    for (const auto* ending : {"exit 1", "exit 3", "kill -9 $$"}) {
        EXPECT_FALSE(confirms(program(ending))) << ending;
    }
    EXPECT_FALSE(confirms(tree.at("missing")));
}

/// Starts nothing. Records what it was asked to start, and ends that as the test has set.
struct RecordedProcesses : Processes {
    std::optional<std::string> start(const ProcessStart& what,
                                     std::function<void(std::string_view)> /*output*/,
                                     std::function<void(int)> ended) override {
        asked = what;
        if (!problem) ended(status);
        return problem;
    }

    ProcessStart asked;
    int status = 0;
    std::optional<std::string> problem;
};

TEST(PolicyKitAdministrator, HasTheShellRunTheScript) {
    const auto recorded = std::make_shared<RecordedProcesses>();
    const auto administrator = systemAdministrator(recorded, nullptr);
    recorded->status = 126;
    EXPECT_EQ(administrator->runScript("/a script", CancelFlag()).status, 126);
    EXPECT_EQ(recorded->asked.program, "/usr/bin/pkexec");
    EXPECT_EQ(recorded->asked.arguments, (std::vector<std::string>{"/bin/sh", "/a script"}));
    recorded->problem = "Permission denied";
    EXPECT_TRUE(administrator->runScript("/a script", CancelFlag()).launchError);
}

}  // namespace
}  // namespace vestigo
