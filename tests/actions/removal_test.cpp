#include "actions/removal.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>
#include <set>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "actions/cleanup_script.h"
#include "platform/folder_cleanup_trash.h"
#include "platform/posix/posix_files.h"
#include "platform/run_loop.h"
#include "tests/support/own_script.h"
#include "tests/support/service_fakes.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

/// Runs scripts of the tree as this user, or ends as told. Notes what was going on.
class FakeAdministrator : public Administrator {
public:
    explicit FakeAdministrator(std::string tree) : tree_(std::move(tree)) {}

    AdministratorRun runScript(const std::string& script) override {
        if (++running > 1) overlapped = true;
        scripts.push_back(PosixFiles().read(script).value_or(""));
        permissions = fs::status(script).permissions();
        if (meanwhile) meanwhile();
        const auto result =
            answer ? *answer : AdministratorRun{test::runInTree(script, tree_), std::nullopt};
        --running;
        return result;
    }
    std::function<void()> meanwhile;  ///< Happens while the password is asked for.
    std::optional<AdministratorRun> answer;
    Lines scripts;
    fs::perms permissions{};
    std::atomic<int> running = 0;
    std::atomic<bool> overlapped = false;

private:
    std::string tree_;
};

/// A window whose log tells all that was done, in order.
struct RemovalTest : testing::Test, RemovalWindow {
    RemovalTest() { fs::permissions(temporary, fs::perms::owner_all); }

    std::vector<const BundleGroup*> deletableSelection() const override {
        std::vector<const BundleGroup*> result;
        for (const auto& group : groups) result.push_back(&group);
        return result;
    }
    const std::vector<Leftover>& leftovers() const override { return ticked; }
    void removalEnded() override {
        log.emplace_back("ended");
        groups.clear();
        ticked.clear();
    }
    void showAlert(std::string message) override { log.push_back("alert " + message); }

    static std::optional<std::string> fails(const std::string& path) {
        return path.find("bad") == path.npos ? std::nullopt : std::optional("no " + path);
    }
    RemovalServices services() {
        RemovalServices services;
        services.main = loop;
        services.background = tasks;
        services.authentication = owner;
        services.cleanup = cleanup;
        services.trashGroups = [this](const RootSet& roots) {
            for (const auto& root : std::set(roots.begin(), roots.end()))
                log.push_back("group " + root);
            return std::optional<std::string>();
        };
        services.trashPath = [this](const std::string& path) {
            log.push_back("path " + path);
            return fails(path);
        };
        services.removalRefusal = fails;
        return services;
    }
    void select(const Lines& roots) {
        for (const auto& root : roots) groups.push_back({.root = root, .hits = {}});
    }
    void tick(const std::string& path, bool system = false, bool on = true) {
        ticked.push_back({path, false, system, on});
    }
    std::string systemFile(const std::string& name) { return tree.file("Library/" + name, name); }
    void settle() {
        tasks->runHeld();
        loop->runPosted();
    }
    [[nodiscard]] Lines namesIn(const std::string& folder) const {
        auto names = files->names(folder).value_or(Lines{"unreadable"});
        std::ranges::sort(names);
        return names;
    }
    [[nodiscard]] std::string inTrash(const std::string& name) const {
        return files->read(trashFolder + "/" + name).value_or("nothing");
    }

    test::TemporaryTree tree;
    std::string temporary = tree.folder("temporary");
    std::string trashName = "o'ne \"$HOME\" Trash";
    std::string trashFolder = tree.folder(trashName);
    std::shared_ptr<RunLoop> loop = std::make_shared<RunLoop>();
    std::shared_ptr<test::HeldTasks> tasks = std::make_shared<test::HeldTasks>();
    std::shared_ptr<test::FakeOwnerAuthentication> owner =
        std::make_shared<test::FakeOwnerAuthentication>();
    std::shared_ptr<FakeAdministrator> administrator =
        std::make_shared<FakeAdministrator>(tree.path());
    std::shared_ptr<PosixFiles> files = std::make_shared<PosixFiles>();
    AdministratorCleanupServices places{
        administrator, files, std::make_shared<FolderCleanupTrash>(trashFolder, files), temporary};
    std::shared_ptr<AdministratorCleanup> cleanup = std::make_shared<AdministratorCleanup>(places);
    std::vector<BundleGroup> groups;
    std::vector<Leftover> ticked;
    Lines log;
    std::unique_ptr<Removal> removal = std::make_unique<Removal>(services(), *this);
};

TEST_F(RemovalTest, RemovesWhatIsTickedInItsOrderAndShowsTheFirstFailure) {
    select({"/a", "/b"});
    tick("/bad1");
    tick("/off", false, false);
    tick(systemFile("one"), true);
    tick("/bad2");
    tick(systemFile("off"), true, false);
    tick(systemFile("it's"), true);
    tick(systemFile("bad3"), true);
    removal->performDelete();
    EXPECT_EQ(log, (Lines{"group /a", "group /b", "path /bad1", "path /bad2", "alert no /bad1",
                          "ended"}));
    EXPECT_TRUE(administrator->scripts.empty());
    settle();
    const auto trashInQuotes = "'" + tree.at("o'\\''ne \"$HOME\" Trash") + "'/";
    ASSERT_EQ(administrator->scripts.size(), 1U);
    const auto& script = administrator->scripts[0];
    EXPECT_TRUE(script.starts_with("#!/bin/sh\n"));
    const auto first = script.find("\nmv -f '" + tree.at("Library/one") + "' " + trashInQuotes +
                                   " 2>/dev/null || true\n");
    const auto second = script.find("\nmv -f '" + tree.at("Library/it'\\''s") + "' " +
                                    trashInQuotes + " 2>/dev/null || true\n");
    EXPECT_LT(first, second);
    EXPECT_NE(second, std::string::npos);
    EXPECT_EQ(administrator->permissions, fs::perms{0600});
    EXPECT_EQ(namesIn(trashFolder), (Lines{"it's", "one"}));
    EXPECT_TRUE(fs::is_empty(temporary));
    EXPECT_EQ(log.back(), "ended");
}

TEST_F(RemovalTest, AsksTheOwnerOnceAndDoesNothingUnlessConfirmed) {
    select({"/a", "/b", "/c"});
    tick("/leftover");
    removal->confirmDelete();
    removal->confirmDelete();
    EXPECT_EQ(owner->reasons, Lines{"confirm moving 3 item(s) to the Trash"});
    owner->answer(false);
    loop->runPosted();
    EXPECT_TRUE(log.empty());
    removal->confirmDelete();
    owner->answer(true);
    EXPECT_TRUE(log.empty());  // Not on the thread of the reply.
    groups.pop_back();
    loop->runPosted();
    EXPECT_EQ(log, (Lines{"group /a", "group /b", "path /leftover", "ended"}));
}

TEST_F(RemovalTest, IsQuietAfterItsEndButTheScriptStillRuns) {
    tick(systemFile("one"), true);
    removal->performDelete();
    removal->confirmDelete();
    log.clear();
    removal.reset();
    owner->answer(true);
    settle();
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(namesIn(trashFolder), Lines{"one"});
}

TEST_F(RemovalTest, TellsWhenTheScriptDidNotRun) {
    administrator->answer = {126, std::nullopt};
    tick(systemFile("one"), true);
    removal->performDelete();
    settle();
    EXPECT_EQ(log.back(),
              "alert System items were not removed (admin prompt cancelled or failed).");
    EXPECT_TRUE(fs::is_empty(temporary));
}

/// What is done as the administrator.
using CleanupTest = RemovalTest;

TEST_F(CleanupTest, MovesExactlyTheFilesOfAnyName) {
    const std::string names[] = {
        "it's",       "''\\''",    "\"",    "\\", "a b\t",       "line\nfeed", "-rf",      "--",
        "$(touch x)", "`touch x`", "$HOME", "*",  "~",           "; touch x",  "\xff\xfe", "#",
        "a\\",        "&",         "|",     "\r", "\x01\x1b[0m", "!!"};
    Lines paths;
    for (const auto& name : names) {
        paths.push_back(systemFile(name));
        systemFile("decoy" + name);
    }
    paths.insert(paths.begin() + 3, tree.at("Library/vanished"));
    EXPECT_EQ(cleanup->runAdminCleanup(paths), std::nullopt);
    for (const auto& name : names) {
        EXPECT_EQ(inTrash(name), name);
        EXPECT_FALSE(fs::exists(tree.at("Library/" + name)));
        EXPECT_TRUE(fs::exists(tree.at("Library/decoy" + name)));
    }
    EXPECT_EQ(namesIn(tree.path()).size(), 3U);
}

TEST_F(CleanupTest, KeepsEverythingWhoseNamesCollideWhileThePasswordIsAskedFor) {
    tree.file("d/folder/inner", "newer");
    const Lines paths{tree.file("a/tool.plist", "a"), tree.at("d/folder"), tree.file("b/free", "b"),
                      tree.file("c/free", "c"), tree.file("d/way", "d")};
    administrator->meanwhile = [this] {
        tree.file(trashName + "/tool.plist", "older");
        tree.file(trashName + "/folder/inner", "older");
        fs::create_symlink("nowhere", trashFolder + "/tool.2.plist");
        fs::create_symlink("/dev/null", trashFolder + "/way");
    };
    EXPECT_EQ(cleanup->runAdminCleanup(paths), std::nullopt);
    for (const auto& [name, content] :
         {std::pair{"tool.plist", "older"}, std::pair{"tool.3.plist", "a"},
          std::pair{"folder/inner", "older"}, std::pair{"folder.2/inner", "newer"},
          std::pair{"free", "b"}, std::pair{"free.2", "c"}, std::pair{"way.2", "d"}}) {
        EXPECT_EQ(inTrash(name), content) << name;
    }
    EXPECT_EQ(namesIn(trashFolder).size(), 9U);
}

TEST_F(CleanupTest, MovesNothingWhereTheTrashHasBecomeALink) {
    const auto path = systemFile("one");
    administrator->meanwhile = [this] {
        fs::rename(trashFolder, tree.at("elsewhere"));
        fs::create_directory_symlink(tree.at("elsewhere"), trashFolder);
    };
    EXPECT_TRUE(cleanup->runAdminCleanup({path}));
    EXPECT_TRUE(fs::exists(path));
    EXPECT_TRUE(fs::is_empty(tree.at("elsewhere")));
}

TEST_F(CleanupTest, NeverUsesATemporaryFolderThatOthersCanEnter) {
    const auto path = systemFile("one");
    for (const auto shared : {fs::perms{0750}, fs::perms{0701}}) {
        fs::permissions(temporary, shared);
        EXPECT_TRUE(cleanup->runAdminCleanup({path}));
    }
    const auto own = tree.folder("own");
    fs::permissions(own, fs::perms::owner_all);
    fs::remove(temporary);
    fs::create_symlink(own, temporary);
    EXPECT_TRUE(cleanup->runAdminCleanup({path}));
    EXPECT_TRUE(administrator->scripts.empty());
    EXPECT_TRUE(fs::is_empty(own));
}

TEST_F(CleanupTest, RunsOneScriptAtATime) {
    std::vector<std::thread> programs;
    for (const auto* name : {"one", "two", "three", "four", "five", "six"}) {
        programs.emplace_back([this, path = systemFile(name)] {
            EXPECT_EQ(AdministratorCleanup(places).runAdminCleanup({path}), std::nullopt);
        });
    }
    for (auto& program : programs) program.join();
    EXPECT_FALSE(administrator->overlapped);
    EXPECT_EQ(namesIn(trashFolder).size(), programs.size());
}

TEST_F(CleanupTest, LeavesProtectedItemsOutOfTheScript) {
    EXPECT_EQ(cleanup->runAdminCleanup({}), std::nullopt);
    fs::create_symlink("/usr/bin", tree.at("link"));
    const auto refused = tree.at("link/env");
    EXPECT_EQ(cleanup->runAdminCleanup({"/Library/Apple/x", refused}),
              "“x” is protected by the system and was left in its place.");
    EXPECT_TRUE(administrator->scripts.empty());
    administrator->answer = {0, std::nullopt};
    EXPECT_EQ(cleanup->runAdminCleanup({refused, systemFile("one")}),
              "“env” is protected by the system and was left in its place.");
    ASSERT_EQ(administrator->scripts.size(), 1U);
    EXPECT_EQ(administrator->scripts[0].find("env"), std::string::npos);
}

TEST_F(CleanupTest, TestsRunNoScriptOnWhatIsNotTheirs) {
    fs::create_symlink("/usr/bin", tree.at("link"));
    const auto script = tree.at("script");
    for (const auto& command :
         Lines{"mv '/usr/bin/env' x", "touch 'a'; mv '" + tree.at("link/env") + "' x",
               "mv '" + tree.path() + "'/'../x' y", "cd /", "mv \"/usr\" x", "x=/usr"}) {
        tree.file("script", "#!/bin/sh\nfalse || " + command + "\n");
        EXPECT_EQ(test::runInTree(script, tree.path()), -1) << command;
    }
    tree.file("script", "#!/bin/sh\n[ \"$HOME\" = \"$PWD\" ] && rm '" + tree.at("link") +
                            "' 2>/dev/null || true\nexit 5\n");
    EXPECT_EQ(test::runInTree(script, tree.path()), 5);
    EXPECT_FALSE(fs::is_symlink(tree.at("link")));
}

TEST(OsascriptArguments, NameTheScriptInQuotes) {
    const std::array<std::string, 2> arguments{
        "-e", R"(do shell script "/bin/sh \"/tmp/x.sh\"" with administrator privileges)"};
    EXPECT_EQ(osascriptArguments("/tmp/x.sh"), arguments);
}

}  // namespace
}  // namespace vestigo
