#include "actions/removal.h"

#include "actions/administrator_cleanup.h"
#include "platform/administrator.h"
#include "platform/folder_cleanup_trash.h"
#include "platform/posix/posix_files.h"
#include "platform/run_loop.h"
#include "platform/system.h"
#include "tests/support/own_script.h"
#include "tests/support/service_fakes.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

/// Runs scripts of the tree as this user, or ends as told. Notes what was going on.
class FakeAdministrator : public Administrator {
public:
    explicit FakeAdministrator(std::string tree) : tree_(std::move(tree)) {}

    AdministratorRun runScript(const std::string& script, const CancelFlag& /*cancel*/) override {
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

/// Findings over real files, and a Trash and an administrator that tell what they were asked for.
struct RemovalTest : testing::Test {
    RemovalTest() {
        fs::permissions(temporary, fs::perms::owner_all);
        store->record = test::savedScan();
    }

    /// An application with an identifier, to be found by its name in lower case.
    std::string application(const std::string& name, const std::vector<std::uint32_t>& cpus) {
        tree.file(name + ".app/Contents/Info.plist",
                  "<plist><dict><key>CFBundleIdentifier</key><string>com.example." + name +
                      "</string></dict></plist>");
        const auto file = tree.file(name + ".app/Contents/MacOS/run", test::fatMachO(cpus));
        store->record->hits.push_back(test::hitRef({file, {"x86_64"}}));
        return tree.at(name + ".app");
    }
    std::string intelApplication(const std::string& name) {
        return application(name, {test::cpuX86_64});
    }
    std::string preferences(const std::string& name) {
        return tree.file("home/Library/Preferences/com.example." + name + ".plist");
    }
    std::string daemon(const std::string& name) {
        return tree.file("Library/LaunchDaemons/com.example." + name + ".plist");
    }
    Scanner& scanner() {
        if (scanner_) return *scanner_;
        scanner_ = std::make_unique<Scanner>(ScannerServices{.main = loop,
                                                             .background = tasks,
                                                             .reader = systemDirectoryReader(),
                                                             .store = store,
                                                             .inspect = {},
                                                             .migrate = {},
                                                             .now = [] { return 1.0; },
                                                             .trash = trash,
                                                             .files = files});
        return *scanner_;
    }
    Removal& removal() {
        if (removal_) return *removal_;
        RemovalServices services{.main = loop,
                                 .background = tasks,
                                 .authentication = owner,
                                 .cleanup = cleanup,
                                 .bundles = systemBundles(),
                                 .files = files,
                                 .places = {tree.at("home"), tree.at("Library")}};
        RemovalEvents events{
            .checkingChanged = [] {},
            .ended =
                [this](std::optional<std::string> message) {
                    log.push_back("ended " + message.value_or("well"));
                },
            .cleanupFailed =
                [this](const std::string& message) { log.push_back("cleanup " + message); }};
        removal_ = std::make_unique<Removal>(services, scanner(), std::move(events));
        return *removal_;
    }
    /// As if the user had selected them all.
    std::vector<const BundleGroup*> allGroups() {
        std::vector<const BundleGroup*> groups;
        for (const auto& group : scanner().groups()) groups.push_back(&group);
        return groups;
    }
    void open() { removal().open(allGroups()); }
    void answer(bool confirmed) {
        owner->answer(confirmed);
        settle();
    }
    std::optional<std::string> runCleanup(const Lines& paths) {
        return cleanup->runAdminCleanup(test::cleanupItems(paths, tree.path()));
    }
    std::string systemFile(const std::string& name) { return tree.file("Library/" + name, name); }
    void settle() {
        do {
            tasks->runHeld();
            loop->runPosted();
        } while (!tasks->jobs.empty());
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
    std::shared_ptr<test::MemoryStore> store = std::make_shared<test::MemoryStore>();
    std::shared_ptr<test::FakeTrash> trash = std::make_shared<test::FakeTrash>();
    Lines log;

    std::unique_ptr<Scanner> scanner_;
    std::unique_ptr<Removal> removal_;
};

TEST_F(RemovalTest, RemovesWhatIsTickedInItsOrderAndTellsTheFirstFailure) {
    const Lines groups{intelApplication("a"), intelApplication("it's")};
    const Lines own{preferences("a"), preferences("it's")};
    const Lines machine{daemon("a"), daemon("it's")};
    const auto unticked = tree.folder("home/Library/Logs/a");
    trash->failing = {own[0], groups[1]};
    open();
    removal().performDelete();
    EXPECT_EQ(trash->taken, (Lines{groups[0], own[1]}));
    EXPECT_EQ(log, Lines{"ended cannot move " + groups[1]});
    EXPECT_TRUE(administrator->scripts.empty());
    settle();
    ASSERT_EQ(administrator->scripts.size(), 1U);
    for (const auto* const name : {"com.example.a.plist", "com.example.it'\\''s.plist"}) {
        const auto line = "\nmv -f '" + tree.at("Library/LaunchDaemons/") + name + "' '" +
                          tree.at("o'\\''ne \"$HOME\" Trash") + "'/ 2>/dev/null || true\n";
        EXPECT_NE(administrator->scripts[0].find(line), std::string::npos) << line;
    }
    EXPECT_EQ(administrator->permissions, fs::perms{0600});
    EXPECT_EQ(namesIn(trashFolder), (Lines{"com.example.a.plist", "com.example.it's.plist"}));
    EXPECT_TRUE(fs::is_empty(temporary));
    EXPECT_EQ(log.size(), 1U);
}

TEST_F(RemovalTest, AsksTheOwnerOnceAndDoesNothingUnlessConfirmed) {
    const Lines groups{intelApplication("a"), intelApplication("b")};
    open();
    removal().confirmDelete();
    removal().confirmDelete();
    EXPECT_EQ(owner->reasons, Lines{"confirm moving 2 item(s) to the Trash"});
    answer(false);
    EXPECT_TRUE(log.empty());
    removal().confirmDelete();
    owner->answer(true);
    EXPECT_TRUE(trash->taken.empty());  // Not on the thread of the reply.
    settle();
    EXPECT_EQ(trash->taken, groups);
}

TEST_F(RemovalTest, WaitsUntilEverythingHasBeenLookedIntoAndCanBeGivenUpMeanwhile) {
    const auto group = intelApplication("a");
    owner->canAsk = false;
    for (const bool givenUp : {true, false}) {
        open();
        removal().confirmDelete();
        loop->runPosted();
        EXPECT_TRUE(removal().checking() && trash->taken.empty());
        if (givenUp) removal().close();
        EXPECT_NE(removal().checking(), givenUp);
        settle();
        EXPECT_EQ(trash->taken, givenUp ? Lines() : Lines{group});
    }
}

TEST_F(RemovalTest, TakesNoMoreThanWasShownAndLessWhereThatMayNotGoAnyMore) {
    const Lines groups{intelApplication("a"), intelApplication("b")};
    const Lines own{preferences("a"), preferences("b")};
    removal().open(std::vector<const BundleGroup*>(1, allGroups()[0]));
    // While the owner is asked, more of the selection becomes known and more is found beside it.
    removal().confirmDelete();
    const auto late = daemon("a");
    EXPECT_FALSE(removal().retain(allGroups()));
    EXPECT_EQ(removal().plan().groups, Lines{groups[0]});
    answer(true);
    EXPECT_EQ(trash->taken, (Lines{groups[0], own[0]}));
    EXPECT_TRUE(fs::exists(late));

    // What leaves takes its leftovers with it and does not come back; choices stay.
    intelApplication("c");
    const auto third = preferences("c");
    scanner().adopt(*store->record);
    scanner().regroup();
    open();
    removal().setLeftoverOn(third, false);
    EXPECT_TRUE(removal().retain(std::vector<const BundleGroup*>{allGroups().back()}));
    EXPECT_FALSE(removal().retain(allGroups()));
    EXPECT_EQ(removal().plan().groups, Lines{tree.at("c.app")});
    EXPECT_EQ(removal().plan().leftovers, (std::vector<Leftover>{{third, false, false, false}}));
}

TEST_F(RemovalTest, LeavesWhatHasChangedSinceItWasShown) {
    const Lines groups{intelApplication("a"), intelApplication("b"), intelApplication("c")};
    const auto own = preferences("a");
    const auto machine = daemon("a");
    open();
    settle();  // All have been looked into, and nothing keeps them.
    for (const auto& path : {groups[0], own, machine}) fs::rename(path, path + ".before");
    for (const auto* const path : {"a.app/x", "home/Library/Preferences/com.example.a.plist",
                                   "Library/LaunchDaemons/com.example.a.plist"}) {
        tree.file(path, "another");
    }
    tree.file("b.app/Contents/MacOS/run", test::fatMachO({test::cpuX86_64, test::cpuArm64}));
    removal().performDelete();
    settle();
    EXPECT_EQ(trash->taken, Lines{groups[2]});
    EXPECT_TRUE(administrator->scripts.empty());
    EXPECT_EQ(log,
              Lines{"ended “a.app” is not the item that was shown and was left in its place."});
    open();
    removal().performDelete();
    EXPECT_EQ(log.back(), "ended “b.app” also runs natively and was left in its place.");
}

TEST_F(RemovalTest, GivesTheTrashOnlyWhatTheLastLookFound) {
    const auto group = intelApplication("a");
    const auto machine = daemon("a");
    open();
    settle();
    // To the last look the items are not there, as when the disk fails for a moment.
    fs::rename(group, group + ".away");
    fs::rename(machine, machine + ".away");
    removal().performDelete();
    settle();
    EXPECT_EQ(trash->identities, std::vector<ItemIdentity>{ItemIdentity()});
    EXPECT_TRUE(administrator->scripts.empty() && log.size() == 1);
}

TEST_F(RemovalTest, IsQuietAfterItsEndButTheScriptStillRuns) {
    intelApplication("a");
    daemon("a");
    open();
    removal().performDelete();
    open();
    removal().confirmDelete();
    log.clear();
    removal_.reset();
    answer(true);
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(namesIn(trashFolder), Lines{"com.example.a.plist"});
}

TEST_F(RemovalTest, TellsWhenTheScriptDidNotRun) {
    for (const auto* name : {"a", "b"}) {
        intelApplication(name);
        daemon(name);
    }
    const std::string refused = "System items were not removed (admin prompt cancelled or failed).";
    for (const auto& [status, error] : {std::pair(126, ""), std::pair(127, "It is not there.")}) {
        administrator->answer = {status, *error ? std::optional<std::string>(error) : std::nullopt};
        removal().open(std::vector<const BundleGroup*>(1, allGroups()[0]));
        removal().performDelete();
        settle();
        EXPECT_EQ(log.back(), "cleanup " + (*error ? error : refused));
        EXPECT_TRUE(fs::is_empty(temporary));
    }
}

/// What is done as the administrator.
using CleanupTest = RemovalTest;

TEST_F(CleanupTest, MovesExactlyTheFilesOfAnyName) {
    Lines names = {"it's", "''\\''",    "\"",          "\\",        "a b\t", "line\nfeed",
                   "-rf",  "--",        "$(touch x)",  "`touch x`", "$HOME", "*",
                   "~",    "; touch x", "\xff\xfe",    "#",         "a\\",   "&",
                   "|",    "\r",        "\x01\x1b[0m", "!!"};
    if (!tree.takesAnyName()) std::erase(names, "\xff\xfe");
    Lines paths;
    for (const auto& name : names) {
        paths.push_back(systemFile(name));
        systemFile("decoy" + name);
    }
    paths.insert(paths.begin() + 3, tree.at("Library/vanished"));
    EXPECT_EQ(runCleanup(paths), std::nullopt);
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
    EXPECT_EQ(runCleanup(paths), std::nullopt);
    for (const auto& [name, content] :
         {std::pair{"tool.plist", "older"}, std::pair{"tool.3.plist", "a"},
          std::pair{"folder/inner", "older"}, std::pair{"folder.2/inner", "newer"},
          std::pair{"free", "b"}, std::pair{"free.2", "c"}, std::pair{"way.2", "d"}}) {
        EXPECT_EQ(inTrash(name), content) << name;
    }
    EXPECT_EQ(namesIn(trashFolder).size(), 9U);
}

TEST_F(CleanupTest, LeavesWhatHasChangedWhileThePasswordWasAskedFor) {
    const Lines paths{systemFile("replaced"), tree.at("d/changed"), systemFile("same")};
    const auto inner = tree.file("d/changed/Contents/inner", "old");
    administrator->meanwhile = [&] {
        systemFile("other");
        fs::rename(tree.at("Library/other"), paths[0]);
        // The time at which a file changed is only as exact as the system's clock ticks.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        tree.file("d/changed/Contents/inner", "new");
    };
    EXPECT_EQ(runCleanup(paths), std::nullopt);
    EXPECT_EQ(namesIn(trashFolder), Lines{"same"});
    EXPECT_EQ(files->read(inner), "new");
}

TEST_F(CleanupTest, LeavesWhatIsOnAnotherDiskThanTheTrash) {
    auto items = test::cleanupItems({systemFile("near"), systemFile("far")});
    ++items[1].identity.device;
    EXPECT_EQ(cleanup->runAdminCleanup(items),
              "“far” is on another disk than the Trash and was left in its place.");
    EXPECT_EQ(namesIn(trashFolder), Lines{"near"});
}

TEST_F(CleanupTest, MovesNothingWhereTheTrashHasBecomeALink) {
    const auto path = systemFile("one");
    administrator->meanwhile = [this] {
        fs::rename(trashFolder, tree.at("elsewhere"));
        fs::create_directory_symlink(tree.at("elsewhere"), trashFolder);
    };
    EXPECT_TRUE(runCleanup({path}));
    EXPECT_TRUE(fs::exists(path));
    EXPECT_TRUE(fs::is_empty(tree.at("elsewhere")));
}

TEST_F(CleanupTest, NeverUsesATemporaryFolderThatOthersCanEnter) {
    const auto path = systemFile("one");
    for (const auto shared : {fs::perms{0750}, fs::perms{0701}}) {
        fs::permissions(temporary, shared);
        EXPECT_TRUE(runCleanup({path}));
    }
    const auto own = tree.folder("own");
    fs::permissions(own, fs::perms::owner_all);
    fs::remove(temporary);
    fs::create_symlink(own, temporary);
    EXPECT_TRUE(runCleanup({path}));
    EXPECT_TRUE(administrator->scripts.empty());
    EXPECT_TRUE(fs::is_empty(own));
}

TEST_F(CleanupTest, RunsOneScriptAtATime) {
    std::vector<std::thread> programs;
    for (const auto* name : {"one", "two", "three", "four", "five", "six"}) {
        programs.emplace_back([this, path = systemFile(name)] {
            EXPECT_EQ(AdministratorCleanup(places).runAdminCleanup(test::cleanupItems({path})),
                      std::nullopt);
        });
    }
    for (auto& program : programs) program.join();
    EXPECT_FALSE(administrator->overlapped);
    EXPECT_EQ(namesIn(trashFolder).size(), programs.size());
}

TEST_F(CleanupTest, EndsWithinAMomentWhenTheQuestionIsWithdrawn) {
    const auto asked = tree.at("asked");
    const auto wait = [&asked](const std::string&) {
        return Lines{"-c", "touch '" + asked + "'; exec sleep 1000"};
    };
    places.administrator =
        std::make_shared<LaunchedAdministrator>(systemProcesses(systemTasks()), "/bin/sh", wait);
    AdministratorCleanup asking(places);
    const auto path = systemFile("one");
    const auto run = [&] { return asking.runAdminCleanup(test::cleanupItems({path})); };
    auto open = std::async(std::launch::async, run);
    auto next = std::async(std::launch::async, run);
    while (!fs::exists(asked)) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    // A second program must not take the script away.
    const AdministratorCleanup other(places);
    EXPECT_EQ(namesIn(temporary), Lines{"tm_sys_cleanup.sh"});
    asking.withdraw();
    EXPECT_TRUE(open.get());
    EXPECT_TRUE(next.get());
    EXPECT_TRUE(fs::is_empty(temporary));
    EXPECT_TRUE(fs::exists(path));
    // What a killed one has left goes at the next start.
    tree.file("temporary/tm_sys_cleanup.sh");
    const AdministratorCleanup nextStart(places);
    EXPECT_TRUE(fs::is_empty(temporary));
}

TEST_F(CleanupTest, ClearsWhatKilledScriptsHaveLeftInAPlainTrash) {
    const pid_t dead = ::fork();
    if (dead == 0) ::_exit(0);
    ::waitpid(dead, nullptr, 0);
    const auto left = [this](const std::string& name) {
        const auto journal = trashName + "/" + name;
        const auto placeholder = tree.file(journal + "/files/tool");
        tree.file(journal + "/files/Foo.app");
        tree.file(journal + "/files/moved");
        tree.file(journal + "/reference");
        fs::permissions(tree.at(journal), fs::perms::owner_all);
        return placeholder;
    };
    const auto live = ".vestigo-" + std::to_string(::getpid()) + "-abc";
    left(live);
    fs::create_hard_link(left(".vestigo-" + std::to_string(dead) + "-abc"), trashFolder + "/tool");
    fs::permissions(tree.folder(trashName + "/Foo.app"), fs::perms::none);
    tree.file(trashName + "/moved", "moved");
    EXPECT_EQ(runCleanup({systemFile("one")}), std::nullopt);
    EXPECT_EQ(namesIn(trashFolder), (Lines{live, "moved", "one"}));
    EXPECT_EQ(inTrash("moved"), "moved");
}

TEST_F(CleanupTest, LeavesProtectedItemsOutOfTheScript) {
    EXPECT_EQ(runCleanup({}), std::nullopt);
    fs::create_symlink("/usr/bin", tree.at("link"));
    const auto refused = tree.at("link/env");
    EXPECT_EQ(runCleanup({"/Library/Apple/x", refused}),
              "“x” is protected by the system and was left in its place.");
    EXPECT_TRUE(administrator->scripts.empty());
    administrator->answer = {0, std::nullopt};
    EXPECT_EQ(runCleanup({refused, systemFile("one")}),
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
