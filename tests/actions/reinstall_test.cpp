#include "actions/reinstall.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/posix/posix_files.h"
#include "platform/posix/posix_links.h"
#include "platform/posix/posix_processes.h"
#include "platform/posix/thread_tasks.h"
#include "platform/run_loop.h"
#include "tests/support/fake_owner_authentication.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

struct LogWindow : ReinstallWindow {
    void setUpdateLog(std::string text) override { log = std::move(text); }
    void appendToUpdateLog(std::string_view text) override {
        log += text;
        longestAppend = std::max(longestAppend, text.size());
    }
    void setUpdating(bool value) override { updating = value; }
    void addUpdatedID(const std::string& root) override { updated.insert(root); }

    std::string log;
    std::size_t longestAppend = 0;
    bool updating = false;
    std::set<std::string> updated;
};

/// Lets the test be the program that runs.
struct HeldProcess : Processes {
    std::optional<std::string> start(const ProcessStart&,
                                     std::function<void(std::string_view)> onOutput,
                                     std::function<void(int)> onEnd) override {
        ++starts;
        output = std::move(onOutput);
        ended = std::move(onEnd);
        return std::nullopt;
    }

    int starts = 0;
    std::function<void(std::string_view)> output;
    std::function<void(int)> ended;
};

/// An installation of both Homebrews in a folder of its own, with a shell script for the launcher.
class ReinstallTest : public testing::Test {
protected:
    ReinstallTest() {
        tree_.file("native/bin/brew");
        services_.trashPath = [this](const std::string& path) -> std::optional<std::string> {
            if (!fs::exists(path)) return "There is no such item.";
            fs::rename(path, tree_.folder("Trash") + "/moved");
            return std::nullopt;
        };
    }

    Reinstall& runner() {
        if (!reinstall_) reinstall_ = std::make_unique<Reinstall>(services_, window_);
        return *reinstall_;
    }
    void launcher(const std::string& script) {
        const auto path = tree_.file("arch", "#!/bin/sh\ncd '" + tree_.path() + "'\n" + script);
        fs::permissions(path, fs::perms::owner_all);
    }
    void start() { runner().startReinstall("wget", root_); }
    void awaitEnd() {
        loop_->runUntil([this] { return !window_.updating; });
    }
    void makeOldCopy() {
        tree_.file("Cellar/wget/1.21.4/bin/wget", "program");
        tree_.folder("bin");
        fs::create_symlink("../Cellar/wget/1.21.4/bin/wget", tree_.at("bin/wget"));
    }

    test::TemporaryTree tree_;
    std::string root_ = tree_.at("Cellar/wget/1.21.4");
    std::string begin_ = "$ arch -arm64 brew reinstall wget\n";
    std::string oldCopy_ = tree_.at("Cellar/wget");
    std::shared_ptr<RunLoop> loop_ = std::make_shared<RunLoop>();
    std::shared_ptr<ThreadTasks> tasks_ = std::make_shared<ThreadTasks>();
    std::shared_ptr<test::FakeOwnerAuthentication> owner_ =
        std::make_shared<test::FakeOwnerAuthentication>();
    LogWindow window_;
    ReinstallServices services_{.main = loop_,
                                .processes = std::make_shared<PosixProcesses>(tasks_),
                                .files = std::make_shared<PosixFiles>(),
                                .links = std::make_shared<PosixLinks>(),
                                .authentication = owner_,
                                .trashPath = {},
                                .places = {.installation = tree_.at("native"),
                                           .brew = tree_.at("native/bin/brew"),
                                           .launcher = tree_.at("arch"),
                                           .searchPath = "/usr/bin:/bin"}};
    std::unique_ptr<Reinstall> reinstall_;
};

TEST(OldIntelCopyPath, IsTheFormulaFolderOfTheFirstCellar) {
    EXPECT_EQ(oldIntelCopyPath("/a/Cellar//wget/Cellar/x"), "/a/Cellar/wget");
    for (const auto* other : {"/a/Cellar/", "/a/Cellar", "/a/myCellar/wget"}) {
        EXPECT_EQ(oldIntelCopyPath(other), std::nullopt) << other;
    }
}

TEST_F(ReinstallTest, StreamsTheOutputAndMarksTheRootOnlyWhenItWorked) {
    start();
    EXPECT_EQ(window_.log, begin_ + "\nFailed to launch: No such file or directory");
    EXPECT_FALSE(window_.updating);
    launcher("echo sorry; exit 1\n");
    start();
    awaitEnd();
    EXPECT_EQ(window_.log, begin_ + "sorry\n\nFinished. Exit code 1.");
    EXPECT_TRUE(window_.updated.empty());
    launcher("echo \"$@\"; echo \"$PATH\" >&2; echo 'caf\xc3\xa9'\n");
    start();
    awaitEnd();
    EXPECT_EQ(window_.log, begin_ + "-arm64 " + services_.places.brew +
                               " reinstall wget\n/usr/bin:/bin\ncaf\xc3\xa9\n"
                               "\nFinished. Exit code 0.");
    EXPECT_EQ(window_.updated, std::set{root_});
    fs::remove(services_.places.brew);
    start();
    EXPECT_TRUE(
        window_.log.starts_with("arm64 Homebrew not found at " + tree_.at("native") + ".\n"));
    EXPECT_FALSE(window_.updating);
}

TEST_F(ReinstallTest, RunsOneAtATimeAndShowsInPortionsWhatHasComeMeanwhile) {
    const auto process = std::make_shared<HeldProcess>();
    services_.processes = process;
    start();
    for (const auto* chunk : {"one ", "caf\xc3", "\xa9 ", "", "two"}) process->output(chunk);
    runner().startReinstall("curl", "/other");
    loop_->runPosted();
    auto expected = begin_ + "one two";  // Without what is no text by itself.
    EXPECT_EQ(window_.log, expected);
    EXPECT_TRUE(window_.updating);
    for (int i = 0; i < 100; ++i) {
        const std::string chunk(65536, static_cast<char>('a' + i % 26));
        process->output(chunk);
        expected += chunk;
    }
    process->ended(0);
    awaitEnd();
    EXPECT_TRUE(window_.log == expected + "\nFinished. Exit code 0.");
    EXPECT_LE(window_.longestAppend, 262144U);
    EXPECT_EQ(process->starts, 1);
    EXPECT_EQ(window_.updated, std::set{root_});
}

TEST_F(ReinstallTest, GoesOnWithoutItsWindow) {
    launcher("echo begun; read line < fifo; head -c 1000000 /dev/zero; : > installed\n");
    ASSERT_EQ(mkfifo(tree_.at("fifo").c_str(), 0600), 0);
    start();
    loop_->runUntil([this] { return window_.log.ends_with("begun\n"); });
    reinstall_.reset();
    std::ofstream(tree_.at("fifo")) << "go\n";
    services_.processes.reset();
    tasks_.reset();
    EXPECT_TRUE(fs::exists(tree_.at("installed")));
    loop_->runPosted();
    EXPECT_EQ(window_.log, begin_ + "begun\n");
    EXPECT_TRUE(window_.updated.empty());
}

TEST_F(ReinstallTest, ChangesNothingWithoutConfirmationOrWindow) {
    makeOldCopy();
    runner().confirmRemoveOldCopy(oldCopy_);
    owner_->answer(false);
    runner().confirmRemoveOldCopy(oldCopy_);
    reinstall_.reset();
    owner_->answer(true);
    loop_->runPosted();
    EXPECT_TRUE(fs::exists(oldCopy_));
    EXPECT_TRUE(fs::exists(tree_.at("bin/wget")));
    EXPECT_EQ(window_.log, "");
}

TEST_F(ReinstallTest, RemovesAtOnceWhereTheOwnerCannotBeAskedAndTellsOfFailures) {
    owner_->canAsk = false;
    makeOldCopy();
    tree_.folder("native/Cellar/wget");
    const auto removing = [this](const std::string& path) {
        window_.log.clear();
        runner().confirmRemoveOldCopy(path);
        return window_.log;
    };
    EXPECT_EQ(removing(tree_.at("native/Cellar/wget")),
              "\nTrash failed: “wget” belongs to the arm64 Homebrew and was left in its place.");
    EXPECT_TRUE(fs::exists(tree_.at("native/Cellar/wget")));
    EXPECT_EQ(removing(oldCopy_),
              "\nMoved " + oldCopy_ + " to Trash.\nCleaned 1 dead symlink. You can close this.");
    EXPECT_FALSE(fs::is_symlink(tree_.at("bin/wget")));
    makeOldCopy();
    fs::remove_all(oldCopy_);
    EXPECT_EQ(removing(oldCopy_), "\nTrash failed: There is no such item.");
    EXPECT_TRUE(fs::is_symlink(tree_.at("bin/wget")));
}

}  // namespace
}  // namespace vestigo
