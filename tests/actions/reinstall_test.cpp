#include "actions/reinstall.h"

#include "platform/posix/posix_files.h"
#include "platform/posix/posix_links.h"
#include "platform/run_loop.h"
#include "platform/system.h"
#include "tests/support/service_fakes.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

/// An installation of both Homebrews in a folder of its own.
class ReinstallTest : public testing::Test {
protected:
    ReinstallTest() { tree_.file("native/bin/brew"); }

    Reinstall& runner() {
        if (!reinstall_) {
            reinstall_ = std::make_unique<Reinstall>(services_);
            reports_ = reinstall_->subscribe([this](const ReinstallReport& report) {
                if (report.newLog) log_.clear();
                log_ += report.log;
                running_ = report.running;
                if (report.end) ++ends_;
                if (report.end && report.end->status == 0) updated_.insert(report.end->target.root);
                if (!report.notice.empty()) notices_.push_back(report.notice);
            });
        }
        return *reinstall_;
    }
    void start() { runner().startReinstall({"wget", root_}); }
    void end(std::optional<int> status) {
        process_->end(status);
        const auto before = ends_;
        while (ends_ == before) loop_->runPosted();  // The output in portions, then the end.
    }
    std::optional<std::string> trash(const std::string& path, const RemovalChecks& checks) {
        if (!fs::exists(path)) return "There is no such item.";
        if (auto refusal = checks.find(path)->refusal(CancelFlag())) return refusal;
        fs::rename(path, tree_.folder("Trash") + "/moved");
        return std::nullopt;
    }
    /// The owner agrees, or cannot be asked, and the copy has been looked into.
    void settle() {
        do {
            loop_->runPosted();
            tasks_->runHeld();
            loop_->runPosted();
        } while (!tasks_->jobs.empty());
    }
    void confirm(const std::string& path) {
        runner().confirmRemoveOldCopy(path);
        settle();
    }
    void makeOldCopy() {
        // That a file in it is universal is no reason to keep it.
        tree_.file("Cellar/wget/1.21.4/bin/wget",
                   test::fatMachO({test::cpuX86_64, test::cpuArm64}));
        tree_.folder("bin");
        fs::create_symlink("../Cellar/wget/1.21.4/bin/wget", tree_.at("bin/wget"));
    }

    test::TemporaryTree tree_;
    std::string root_ = tree_.at("Cellar/wget/1.21.4");
    std::string begin_ = "$ arch -arm64 brew reinstall wget\n";
    std::string oldCopy_ = tree_.at("Cellar/wget");
    std::shared_ptr<RunLoop> loop_ = std::make_shared<RunLoop>();
    std::shared_ptr<test::FakeLastingProcesses> process_ =
        std::make_shared<test::FakeLastingProcesses>();
    std::shared_ptr<test::HeldTasks> tasks_ = std::make_shared<test::HeldTasks>();
    std::shared_ptr<test::FakeOwnerAuthentication> owner_ =
        std::make_shared<test::FakeOwnerAuthentication>();
    std::string log_;
    bool running_ = false;
    int ends_ = 0;
    std::set<std::string> updated_;
    std::vector<std::string> notices_;
    ReinstallServices services_{
        .main = loop_,
        .processes = process_,
        .files = std::make_shared<PosixFiles>(),
        .links = std::make_shared<PosixLinks>(),
        .authentication = owner_,
        .checks =
            [this] {
                return std::make_unique<RemovalChecks>(
                    CheckServices{systemDirectoryReader(), std::make_shared<PosixFiles>(), {}},
                    loop_, tasks_);
            },
        .trashPath = [this](const std::string& path,
                            const RemovalChecks* checks) { return trash(path, *checks); },
        .folder = tree_.at("reinstalls"),
        .places = {.installation = tree_.at("native"), .brew = tree_.at("native/bin/brew")}};
    std::unique_ptr<Reinstall> reinstall_;
    Subscription reports_;
};

TEST(OldIntelCopyPath, IsTheFormulaFolderOfTheFirstCellar) {
    EXPECT_EQ(oldIntelCopyPath("/a/Cellar//wget/Cellar/x"), "/a/Cellar/wget");
    EXPECT_EQ(oldIntelCopyPath("/a/Cellar/"), std::nullopt);
    EXPECT_EQ(oldIntelCopyPath("/a/myCellar/wget"), std::nullopt);
}

TEST_F(ReinstallTest, RunsOneAtATimeAndMarksTheRootOnlyWhenItWorked) {
    process_->error = "No such file or directory";
    start();
    EXPECT_EQ(log_, begin_ + "\nFailed to launch: No such file or directory");
    EXPECT_FALSE(running_);
    process_->error.reset();
    start();
    runner().startReinstall({"curl", "/other"});
    ASSERT_EQ(process_->started.size(), 1U);
    EXPECT_EQ(process_->started[0].program, "/usr/bin/arch");
    EXPECT_EQ(process_->started[0].arguments,
              (std::vector<std::string>{"-arm64", services_.places.brew, "reinstall", "wget"}));
    EXPECT_EQ(process_->started[0].environment.at("PATH"), services_.places.searchPath);
    end(1);
    EXPECT_EQ(log_, begin_ + "\nFinished. Exit code 1.");
    EXPECT_TRUE(updated_.empty());
    start();
    EXPECT_TRUE(runner().running());
    end(0);
    EXPECT_EQ(updated_, std::set{root_});
    EXPECT_EQ(process_->forgotten.size(), 2U);
    EXPECT_TRUE(notices_.empty());
    fs::remove(services_.places.brew);
    start();
    EXPECT_TRUE(log_.starts_with("arm64 Homebrew not found at " + tree_.at("native") + ".\n"));
    EXPECT_FALSE(running_);
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
    EXPECT_TRUE(log_ == expected + "\nFinished. Exit code 0.");
}

TEST_F(ReinstallTest, IsTakenOverByTheNextWindowWhichTellsItsEnd) {
    start();
    process_->print("before");
    reinstall_.reset();  // Nobody follows it now,
    process_->print("after");
    process_->end(0);
    loop_->runPosted();
    EXPECT_EQ(log_, begin_);  // and nobody has been told.
    EXPECT_TRUE(updated_.empty() && process_->forgotten.empty());

    const auto note = std::string("wget").append(1, '\0').append(root_);
    process_->left = {{note, true}, {note, false}, {note, false}};
    runner().takeOver();
    EXPECT_EQ(log_, begin_);
    EXPECT_EQ(runner().running()->formula, "wget");
    EXPECT_TRUE(notices_.back().starts_with("Homebrew is still reinstalling “wget”"));
    process_->print(std::string(2000, 'x') + "\nError: no bottle\n");
    end(1);
    EXPECT_TRUE(
        notices_.back().ends_with("has ended with exit code 1. The last that it wrote:\n\n"
                                  "Error: no bottle"));
    end(std::nullopt);
    EXPECT_TRUE(
        notices_.back().starts_with("How the reinstall of “wget” that was started earlier "
                                    "ended is not known"));
    EXPECT_TRUE(updated_.empty());
    end(0);
    EXPECT_TRUE(notices_.back().ends_with("exit code 0. The arm64 build is installed."));
    EXPECT_EQ(updated_, std::set{root_});
    EXPECT_EQ(process_->forgotten, std::vector(3, note));
    EXPECT_EQ(notices_.size(), 4U);
    EXPECT_FALSE(runner().running() || running_);
}

TEST_F(ReinstallTest, ChangesNothingWithoutConfirmationOrWindow) {
    makeOldCopy();
    for (const auto* const why : {"refused", "withdrawn", "closed"}) {
        runner().confirmRemoveOldCopy(oldCopy_);
        if (why == std::string("withdrawn")) runner().withdraw();
        if (why == std::string("closed")) reinstall_.reset();
        owner_->answer(why != std::string("refused"));
        settle();
        EXPECT_TRUE(fs::exists(oldCopy_));
        EXPECT_TRUE(fs::exists(tree_.at("bin/wget")));
    }
}

TEST_F(ReinstallTest, LeavesTheNativeBuildWhateverLinksLeadThere) {
    owner_->canAsk = false;
    const auto native = tree_.folder("native/Cellar/wget");
    const auto link = [this](const std::string& folder, const std::string& path) {
        fs::create_symlink(tree_.at(folder), tree_.at(path));
        return tree_.at(path);
    };
    const auto expectKept = [this](const std::string& path) {
        log_.clear();
        confirm(path);
        EXPECT_EQ(log_, "\nTrash failed: “" + fs::path(path).filename().string() +
                            "” belongs to the arm64 Homebrew and was left in its place.");
    };
    expectKept(native);
    link("native/Cellar", "Cellar");
    expectKept(oldCopy_);
    tree_.folder("outside/wget");
    expectKept(link("outside", "native/lib") + "/wget");
    fs::rename(tree_.at("native"), tree_.folder("around") + "/native");
    link("around/native", "native");
    expectKept(tree_.at("around/native/Cellar/wget"));
    expectKept(tree_.at("around"));
}

TEST_F(ReinstallTest, RemovesTheOldCopyWithItsLinksAndNothingWhereThatFails) {
    owner_->canAsk = false;
    makeOldCopy();
    confirm(oldCopy_);
    EXPECT_FALSE(fs::exists(oldCopy_) || fs::is_symlink(tree_.at("bin/wget")));
    makeOldCopy();
    fs::remove_all(oldCopy_);
    confirm(oldCopy_);
    EXPECT_TRUE(fs::is_symlink(tree_.at("bin/wget")));
    const auto moved = "\nMoved " + oldCopy_ + " to Trash.";
    EXPECT_EQ(log_, moved + "\nCleaned 1 dead symlink. You can close this." +
                        "\nTrash failed: There is no such item.");
}

}  // namespace
}  // namespace vestigo
