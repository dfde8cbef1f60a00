#include "actions/reinstall.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/posix/posix_files.h"
#include "platform/posix/posix_links.h"
#include "platform/run_loop.h"
#include "tests/support/service_fakes.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

struct LogWindow : ReinstallWindow {
    void setUpdateLog(std::string text) override { log = std::move(text); }
    void appendToUpdateLog(std::string_view text) override { log += text; }
    void setUpdating(bool value) override { updating = value; }
    void addUpdatedID(const std::string& root) override { updated.insert(root); }

    std::string log;
    bool updating = false;
    std::set<std::string> updated;
};

/// An installation of both Homebrews in a folder of its own.
class ReinstallTest : public testing::Test {
protected:
    ReinstallTest() { tree_.file("native/bin/brew"); }

    Reinstall& runner() {
        if (!reinstall_) reinstall_ = std::make_unique<Reinstall>(services_, window_);
        return *reinstall_;
    }
    void start() { runner().startReinstall("wget", root_); }
    void end(int status) {
        process_->end(status);
        loop_->runUntil([this] { return !window_.updating; });
    }
    std::optional<std::string> trash(const std::string& path) {
        if (!fs::exists(path)) return "There is no such item.";
        fs::rename(path, tree_.folder("Trash") + "/moved");
        return std::nullopt;
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
    std::shared_ptr<test::FakeProcesses> process_ = std::make_shared<test::FakeProcesses>();
    std::shared_ptr<test::FakeOwnerAuthentication> owner_ =
        std::make_shared<test::FakeOwnerAuthentication>();
    LogWindow window_;
    ReinstallServices services_{
        .main = loop_,
        .processes = process_,
        .files = std::make_shared<PosixFiles>(),
        .links = std::make_shared<PosixLinks>(),
        .authentication = owner_,
        .trashPath = [this](const std::string& path) { return trash(path); },
        .places = {.installation = tree_.at("native"), .brew = tree_.at("native/bin/brew")}};
    std::unique_ptr<Reinstall> reinstall_;
};

TEST(OldIntelCopyPath, IsTheFormulaFolderOfTheFirstCellar) {
    EXPECT_EQ(oldIntelCopyPath("/a/Cellar//wget/Cellar/x"), "/a/Cellar/wget");
    EXPECT_EQ(oldIntelCopyPath("/a/Cellar/"), std::nullopt);
    EXPECT_EQ(oldIntelCopyPath("/a/myCellar/wget"), std::nullopt);
}

TEST_F(ReinstallTest, RunsOneAtATimeAndMarksTheRootOnlyWhenItWorked) {
    process_->error = "No such file or directory";
    start();
    EXPECT_EQ(window_.log, begin_ + "\nFailed to launch: No such file or directory");
    EXPECT_FALSE(window_.updating);
    process_->error.reset();
    start();
    runner().startReinstall("curl", "/other");
    EXPECT_EQ(process_->started.size(), 2U);
    EXPECT_EQ(process_->started[1].program, "/usr/bin/arch");
    EXPECT_EQ(process_->started[1].arguments,
              (std::vector<std::string>{"-arm64", services_.places.brew, "reinstall", "wget"}));
    EXPECT_EQ(process_->started[1].environment.at("PATH"), services_.places.searchPath);
    end(1);
    EXPECT_EQ(window_.log, begin_ + "\nFinished. Exit code 1.");
    EXPECT_TRUE(window_.updated.empty());
    start();
    end(0);
    EXPECT_EQ(window_.updated, std::set{root_});
    fs::remove(services_.places.brew);
    start();
    EXPECT_TRUE(
        window_.log.starts_with("arm64 Homebrew not found at " + tree_.at("native") + ".\n"));
    EXPECT_FALSE(window_.updating);
}

TEST_F(ReinstallTest, ShowsInItsOrderWhatHasCome) {
    start();
    for (const auto* chunk : {"one ", "caf\xc3", "\xa9 ", "", "two"}) process_->print(chunk);
    auto expected = begin_ + "one two";  // Without what is no text by itself.
    for (int i = 0; i < 100; ++i) {
        const std::string chunk(65536, static_cast<char>('a' + i % 26));
        process_->print(chunk);
        expected += chunk;
    }
    end(0);
    EXPECT_TRUE(window_.log == expected + "\nFinished. Exit code 0.");
}

TEST_F(ReinstallTest, GoesOnQuietlyWithoutItsWindow) {
    start();
    process_->print("before");
    reinstall_.reset();
    EXPECT_FALSE(process_->started[0].cancel);
    process_->print("after");
    process_->end(0);
    loop_->runPosted();
    EXPECT_EQ(window_.log, begin_);
    EXPECT_TRUE(window_.updated.empty());
}

TEST_F(ReinstallTest, ChangesNothingWithoutConfirmationOrWindow) {
    makeOldCopy();
    for (const bool confirmed : {false, true}) {
        runner().confirmRemoveOldCopy(oldCopy_);
        if (confirmed) reinstall_.reset();
        owner_->answer(confirmed);
        loop_->runPosted();
        EXPECT_TRUE(fs::exists(oldCopy_));
        EXPECT_TRUE(fs::exists(tree_.at("bin/wget")));
    }
}

TEST_F(ReinstallTest, LeavesTheNativeBuildWhateverLinksLeadThere) {
    owner_->canAsk = false;
    const auto native = tree_.folder("native/Cellar/wget");
    const auto kept =
        "\nTrash failed: “wget” belongs to the arm64 Homebrew and was left in its place.";
    runner().confirmRemoveOldCopy(native);
    fs::create_symlink(tree_.at("native/Cellar"), tree_.at("Cellar"));
    runner().confirmRemoveOldCopy(oldCopy_);
    fs::rename(tree_.at("native"), tree_.at("elsewhere"));
    fs::create_symlink(tree_.at("elsewhere"), tree_.at("native"));
    runner().confirmRemoveOldCopy(tree_.at("elsewhere/Cellar/wget"));
    EXPECT_TRUE(fs::exists(native));
    EXPECT_EQ(window_.log, std::string(kept) + kept + kept);
}

TEST_F(ReinstallTest, RemovesTheOldCopyWithItsLinksAndNothingWhereThatFails) {
    owner_->canAsk = false;
    makeOldCopy();
    runner().confirmRemoveOldCopy(oldCopy_);
    EXPECT_FALSE(fs::exists(oldCopy_) || fs::is_symlink(tree_.at("bin/wget")));
    makeOldCopy();
    fs::remove_all(oldCopy_);
    runner().confirmRemoveOldCopy(oldCopy_);
    EXPECT_TRUE(fs::is_symlink(tree_.at("bin/wget")));
    const auto moved = "\nMoved " + oldCopy_ + " to Trash.";
    EXPECT_EQ(window_.log, moved + "\nCleaned 1 dead symlink. You can close this." +
                               "\nTrash failed: There is no such item.");
}

}  // namespace
}  // namespace vestigo
