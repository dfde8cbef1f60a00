#include "actions/removal.h"

#include "platform/run_loop.h"
#include "platform/system.h"
#include "tests/actions/cleanup_fixture.h"
#include "tests/support/service_fakes.h"

namespace vestigo::test {
namespace {

namespace fs = std::filesystem;

/// Findings over real files, and a Trash and an administrator that tell what they were asked for.
struct RemovalTest : CleanupFixture {
    RemovalTest() { store->record = savedScan(); }

    /// An application with an identifier, to be found by its name in lower case.
    std::string intelApplication(const std::string& name) {
        tree.file(name + ".app/Contents/Info.plist",
                  "<plist><dict><key>CFBundleIdentifier</key><string>com.example." + name +
                      "</string></dict></plist>");
        const auto file = tree.file(name + ".app/Contents/MacOS/run", fatMachO({cpuX86_64}));
        store->record->hits.push_back(hitRef({file, {"x86_64"}}));
        return tree.at(name + ".app");
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
                                 .cleanup = std::make_shared<AdministratorCleanup>(places),
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
    /// As if the user had selected them all, or these.
    std::vector<const BundleGroup*> groups(const std::set<std::string>& roots = {}) {
        std::vector<const BundleGroup*> found;
        for (const auto& group : scanner().groups()) {
            if (roots.empty() || roots.contains(group.root)) found.push_back(&group);
        }
        return found;
    }
    void open(const std::set<std::string>& roots = {}) { removal().open(groups(roots)); }
    void answer(bool confirmed) {
        owner->answer(confirmed);
        settle();
    }
    /// How many jobs have run in the background.
    std::size_t settle() {
        std::size_t jobs = 0;
        do {
            jobs += tasks->jobs.size();
            tasks->runHeld();
            loop->runPosted();
        } while (!tasks->jobs.empty());
        return jobs;
    }

    std::shared_ptr<RunLoop> loop = std::make_shared<RunLoop>();
    std::shared_ptr<HeldTasks> tasks = std::make_shared<HeldTasks>();
    std::shared_ptr<FakeOwnerAuthentication> owner = std::make_shared<FakeOwnerAuthentication>();
    std::shared_ptr<MemoryStore> store = std::make_shared<MemoryStore>();
    std::shared_ptr<FakeTrash> trash = std::make_shared<FakeTrash>();
    Lines log;

    std::unique_ptr<Scanner> scanner_;
    std::unique_ptr<Removal> removal_;
};

TEST_F(RemovalTest, RemovesWhatIsTickedInItsOrderAndTellsTheFirstFailure) {
    const Lines roots{intelApplication("a"), intelApplication("it's")};
    const Lines own{preferences("a"), preferences("it's")};
    const Lines machine{daemon("a"), daemon("it's")};
    const auto unticked = tree.folder("home/Library/Logs/a");
    trash->failing = {own[0], roots[1]};
    open();
    removal().performDelete();
    EXPECT_EQ(trash->taken, (Lines{roots[0], own[1]}));
    EXPECT_EQ(log, Lines{"ended cannot move " + roots[1]});
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

TEST_F(RemovalTest, LooksOnlyIntoWhatIsTicked) {
    intelApplication("a");
    const auto own = preferences("a");
    const auto unticked = tree.folder("home/Library/Logs/a");
    open();
    EXPECT_EQ(settle(), 2U);
    removal().setLeftoverOn(unticked, true);
    EXPECT_EQ(settle(), 1U);
    open();
    removal().setLeftoverOn(own, false);
    EXPECT_EQ(settle(), 1U);
}

TEST_F(RemovalTest, AsksTheOwnerOnceAndDoesNothingUnlessConfirmed) {
    const Lines roots{intelApplication("a"), intelApplication("b")};
    open();
    removal().confirmDelete();
    removal().confirmDelete();
    EXPECT_EQ(owner->reasons, Lines{"confirm moving 2 item(s) to the Trash"});
    answer(false);
    EXPECT_TRUE(log.empty());
    removal().confirmDelete();
    // An answer to a sheet that was closed is none to the next one.
    open();
    answer(true);
    EXPECT_TRUE(log.empty());
    removal().confirmDelete();
    owner->answer(true);
    EXPECT_TRUE(trash->taken.empty());  // Not on the thread of the reply.
    settle();
    EXPECT_EQ(trash->taken, roots);
}

TEST_F(RemovalTest, WaitsUntilEverythingHasBeenLookedIntoAndCanBeGivenUpMeanwhile) {
    const auto root = intelApplication("a");
    const auto own = preferences("a");
    for (const bool givenUp : {true, false}) {
        open();
        removal().confirmDelete();
        owner->answer(true);
        loop->runPosted();
        EXPECT_TRUE(removal().checking() && trash->taken.empty());
        // From now on the owner's word stands.
        removal().setLeftoverOn(own, false);
        removal().confirmDelete();
        EXPECT_TRUE(owner->replies.empty());
        if (givenUp) removal().close();
        EXPECT_NE(removal().checking(), givenUp);
        settle();
        EXPECT_EQ(trash->taken, givenUp ? Lines() : (Lines{root, own}));
    }
}

TEST_F(RemovalTest, TakesNoMoreThanWasShownAndLessWhereThatMayNotGoAnyMore) {
    const Lines roots{intelApplication("a"), intelApplication("b")};
    const Lines own{preferences("a"), preferences("b")};
    open({roots[0]});
    // While the owner is asked, more of the selection becomes known and more is found beside it.
    removal().confirmDelete();
    const auto late = daemon("a");
    EXPECT_FALSE(removal().retain(groups()));
    EXPECT_EQ(removal().plan().groups, Lines{roots[0]});
    answer(true);
    EXPECT_EQ(trash->taken, (Lines{roots[0], own[0]}));
    EXPECT_TRUE(fs::exists(late));

    // What leaves takes its leftovers with it and does not come back; choices stay.
    const auto third = intelApplication("c");
    const auto gone = intelApplication("d");
    const auto kept = preferences("c");
    scanner().adopt(*store->record);
    scanner().regroup();
    open();
    removal().setLeftoverOn(kept, false);
    fs::remove_all(gone);
    EXPECT_TRUE(removal().retain(groups({roots[1], third})));
    EXPECT_EQ(removal().withdrawalReason(), std::nullopt);
    EXPECT_TRUE(removal().retain(groups({third})));
    EXPECT_FALSE(removal().retain(groups()));
    EXPECT_EQ(removal().plan().groups, Lines{third});
    EXPECT_EQ(removal().plan().leftovers, (std::vector<Leftover>{{kept, false, false, false}}));
    const auto why = "“b.app” is no longer among the findings and was left in its place.";
    EXPECT_EQ(removal().withdrawalReason(), why);
    removal().performDelete();
    EXPECT_EQ(log.back(), std::string("ended ") + why);
}

TEST_F(RemovalTest, LeavesWhatHasChangedSinceItWasShown) {
    const Lines roots{intelApplication("a"), intelApplication("b"), intelApplication("c")};
    const auto own = preferences("a");
    const auto machine = daemon("a");
    open();
    settle();  // All have been looked into, and nothing keeps them.
    for (const auto& path : {roots[0], own, machine}) fs::rename(path, path + ".before");
    tree.file("a.app/x", "another");
    preferences("a");
    daemon("a");
    tree.file("b.app/Contents/MacOS/run", fatMachO({cpuX86_64, cpuArm64}));
    removal().performDelete();
    settle();
    EXPECT_EQ(trash->taken, Lines{roots[2]});
    EXPECT_TRUE(administrator->scripts.empty());
    EXPECT_EQ(log,
              Lines{"ended “a.app” is not the item that was shown and was left in its place."});
    open({roots[1]});
    removal().performDelete();
    EXPECT_EQ(log.back(), "ended “b.app” also runs natively and was left in its place.");
}

TEST_F(RemovalTest, TellsWhatTheAdministratorIsNotAskedFor) {
    intelApplication("a");
    const auto machine = daemon("a");
    open();
    settle();
    fs::rename(machine, machine + ".before");
    daemon("a");
    removal().performDelete();
    EXPECT_EQ(log, Lines{"ended “com.example.a.plist” is not the item that was shown and was left "
                         "in its place."});
}

TEST_F(RemovalTest, GivesTheTrashOnlyWhatTheLastLookFound) {
    const auto root = intelApplication("a");
    const auto machine = daemon("a");
    open();
    settle();
    // To the last look the items are not there, as when the disk fails for a moment.
    fs::rename(root, root + ".away");
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
        open({groups().front()->root});
        removal().performDelete();
        settle();
        EXPECT_EQ(log.back(), "cleanup " + (*error ? error : refused));
        EXPECT_TRUE(fs::is_empty(temporary));
    }
}

}  // namespace
}  // namespace vestigo::test
