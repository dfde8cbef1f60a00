#include "platform/system.h"

#include <sys/resource.h>

#include "platform/linux/linux_owner_authentication.h"
#include "platform/linux/linux_system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

TEST(BackgroundTasks, OfUtilityYieldToOthersWithTheThreadsTheyStart) {
    std::promise<int> promise;
    const auto tasks = systemTasks();
    tasks->run(Priority::utility, [&promise] {
        std::thread(atPriorityOfThisThread([&promise] {
            promise.set_value(getpriority(PRIO_PROCESS, 0));
        })).join();
    });
    EXPECT_GE(promise.get_future().get(), 10);
}

TEST(LinuxStandardFolders, FollowTheEnvironmentWhereItIsAbsolute) {
    ::setenv("HOME", "/h/me", 1);
    ::setenv("XDG_DATA_HOME", "/data//", 1);
    ::setenv("XDG_CACHE_HOME", "/c", 1);
    EXPECT_EQ(linuxStandardFolders("/none").applicationSupport, "/data");
    EXPECT_EQ(linuxStandardFolders("/none").caches, "/c");
    ::setenv("XDG_DATA_HOME", "relative", 1);
    ::setenv("XDG_CACHE_HOME", "relative", 1);
    EXPECT_EQ(linuxStandardFolders("/none").applicationSupport, "/h/me/.local/share");
    EXPECT_EQ(linuxStandardFolders("/none").caches, "/h/me/.cache");
}

TEST(LinuxStandardFolders, TheTemporaryFolderIsOursAlone) {
    const test::TemporaryTree tree;
    const auto temporary = [&tree] {
        auto path = linuxStandardFolders(tree.path()).temporary;
        EXPECT_EQ(fs::symlink_status(path).permissions(), fs::perms{0700});
        return path;
    };
    const auto session = tree.folder("session");
    const auto own = tree.at("vestigo-" + std::to_string(::getuid()));
    ::setenv("XDG_RUNTIME_DIR", session.c_str(), 1);
    ::chmod(session.c_str(), 0700);
    EXPECT_EQ(temporary(), session);
    ::chmod(session.c_str(), 0755);
    EXPECT_EQ(temporary(), own);
    ::chmod(own.c_str(), 0770);
    EXPECT_TRUE(temporary().starts_with(own + "-"));
    fs::remove(own);
    ::chmod(tree.folder("elsewhere").c_str(), 0700);
    fs::create_symlink("elsewhere", own);
    EXPECT_TRUE(temporary().starts_with(own + "-"));
}

/// A script in the place of the system's programs. It notes what it was given.
struct PolicyKitTest : testing::Test {
    std::string program(const std::string& ending) {
        auto path = tree.file("program", "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" + tree.at("given") +
                                             "'\n" + ending + "\n");
        fs::permissions(path, fs::perms::owner_all);
        return path;
    }
    std::string given() { return systemFiles()->read(tree.at("given")).value_or(""); }
    bool available(const std::string& actions) {
        return LinuxOwnerAuthentication(processes, {"", actions}).available();
    }
    bool confirms(const std::string& check, bool staysOpen = true) {
        std::promise<bool> answer;
        std::optional<LinuxOwnerAuthentication> window(std::in_place, processes,
                                                       PolicyKitPlaces{check, ""});
        window->authenticate("confirm", [&](bool value) { answer.set_value(value); });
        if (!staysOpen) window.reset();
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
    EXPECT_TRUE(available(program("sleep 2; exit 1")));  // Not waited for.
}

TEST_F(PolicyKitTest, IsConfirmedOnlyByStatusZeroWhileTheWindowIsOpen) {
    EXPECT_TRUE(confirms(program("exit 0")));
    EXPECT_TRUE(given().starts_with("--action-id\norg.vestigo.confirm-removal\n--process\n" +
                                    std::to_string(::getpid()) + ","));
    EXPECT_TRUE(given().ends_with("\n--allow-user-interaction\n"));
    EXPECT_TRUE(confirms(program("exit 2")));  // As where the session has no agent.
    for (const auto* ending : {"exit 1", "exit 3", "kill -9 $$"}) {
        EXPECT_FALSE(confirms(program(ending))) << ending;
    }
    EXPECT_FALSE(confirms(tree.at("missing")));
    EXPECT_FALSE(confirms(program("exec sleep 5"), false));
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
