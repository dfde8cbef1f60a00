#include "engine/scanner.h"

#include <mutex>

#include "persist/file_memory_table.h"
#include "platform/posix/posix_files.h"
#include "platform/posix/thread_tasks.h"
#include "platform/run_loop.h"
#include "tests/support/service_fakes.h"
#include "tests/support/test.h"
#include "tests/support/walk_support.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;

/// A Scanner that is made when first asked for, and whose background jobs run when the test says.
struct ScannerTest : testing::Test {
    Scanner& scanner() {
        if (!made) made = std::make_unique<Scanner>(services);
        return *made;
    }
    SignInfo inspect(const std::string& root) {
        const std::lock_guard lock(mutex);
        inspected.push_back(root);
        if (inspected.size() == closesAfter) made.reset();
        return {root.ends_with("apple"), "Vendor"};
    }
    void settle() {
        do {
            tasks->runHeld();
            loop->runPosted();
        } while (!tasks->jobs.empty());
    }
    void scan(const Paths& folders) {
        scanner().startScan(folders);
        settle();
    }
    [[nodiscard]] Paths roots() {
        Paths result;
        for (const auto& group : scanner().groups()) result.push_back(group.root);
        return result;
    }

    test::TemporaryTree tree;
    std::shared_ptr<RunLoop> loop = std::make_shared<RunLoop>();
    std::shared_ptr<test::HeldTasks> tasks = std::make_shared<test::HeldTasks>();
    std::shared_ptr<test::HookedReader> reader = std::make_shared<test::HookedReader>();
    std::shared_ptr<test::MemoryStore> store = std::make_shared<test::MemoryStore>();
    std::shared_ptr<test::FakeTrash> trash = std::make_shared<test::FakeTrash>();
    std::mutex mutex;
    Paths inspected;
    double now = 99.5;
    std::size_t closesAfter = 0;  ///< So many signatures the window closes.
    ScannerServices services{.main = loop,
                             .background = tasks,
                             .reader = reader,
                             .store = store,
                             .inspect = [this](const std::string& root) { return inspect(root); },
                             .migrate = {},
                             .now = [this] { return now; },
                             .trash = trash,
                             .files = std::make_shared<PosixFiles>()};
    std::unique_ptr<Scanner> made;
    const std::string intel = test::thinMachO(test::cpuX86_64);
};

TEST_F(ScannerTest, ScansInspectsSavesAndShowsTheSavedScanAgain) {
    const auto tool = tree.file("bin/tool", intel);
    const auto apple = tree.file("bin/apple", intel);
    const auto arm = tree.file("bin/arm", test::thinMachO(test::cpuArm64));
    scanner().startScan({tree.path()});
    EXPECT_TRUE(scanner().scanning());
    scanner().startScan({"/elsewhere"});
    settle();
    EXPECT_FALSE(scanner().scanning());
    EXPECT_EQ(scanner().scannedCount(), 3);
    EXPECT_EQ(scanner().groups().size(), 2U);
    for (const auto& group : scanner().groups()) {
        EXPECT_EQ(group.fix, group.root == apple ? Fix::apple : Fix::manual);
    }
    EXPECT_EQ(store->record->date, 99.5);
    EXPECT_EQ(store->record->signatures->size(), 2U);

    // At the next start. What has not changed is not read again.
    store->record->signatures->erase(tool);
    for (auto& hit : store->record->hits) {
        auto known = *hit;
        if (known.path == tool) known.archs = {"ppc"};
        hit = test::hitRef(known);
    }
    inspected.clear();
    made.reset();
    EXPECT_EQ(scanner().allHits().size(), 3U);
    EXPECT_EQ(scanner().lastRoots(), Paths{tree.path()});
    EXPECT_EQ(scanner().lastScanDate(), 99.5);
    const auto fresh = tree.file("fresh", intel);
    now = 100.5;
    scanner().startScan({tree.path()});
    // Signatures that come during a scan do not save half of it.
    const auto writes = store->writes;
    for (const auto& job : std::exchange(tasks->jobs, {})) {
        EXPECT_EQ(store->writes, writes);
        job();
        loop->runPosted();
    }
    EXPECT_EQ(store->writes, writes + 1);
    EXPECT_EQ(store->record->date, 100.5);
    settle();
    EXPECT_EQ(inspected, (Paths{tool, fresh}));
    for (const auto& group : scanner().groups()) {
        EXPECT_EQ(group.hasPowerPC(), group.root == tool);
    }
    // Passes may overlap.
    for (const bool intelOnly : {false, true, false}) scanner().setIntelOnly(intelOnly);
    EXPECT_EQ(scanner().signaturePasses(), 2U);
    settle();
    EXPECT_EQ(inspected, (Paths{tool, fresh, arm, arm}));
    EXPECT_EQ(roots().size(), 4U);
    scanner().setIntelOnly(true);
    EXPECT_EQ(scanner().signaturePasses(), 0U);
    EXPECT_EQ(roots().size(), 3U);
}

TEST_F(ScannerTest, StopsAtOnceAndDropsWhatComesOnceTheNextScanRuns) {
    tree.file("old/a", intel);
    const auto fresh = tree.file("new/b", intel);
    scanner().startScan({tree.at("old")});
    tasks->runHeld();
    scanner().stop();
    EXPECT_FALSE(scanner().scanning());
    EXPECT_EQ(store->writes, 1);
    scanner().startScan({tree.at("new")});
    loop->runPosted();
    EXPECT_TRUE(scanner().walking() && scanner().allHits().empty());
    settle();
    EXPECT_EQ(roots(), Paths{fresh});
    EXPECT_EQ(scanner().scannedCount(), 1);
}

TEST_F(ScannerTest, ReadsTheSavedScanInTheBackground) {
    const auto kept = tree.file("kept", intel);
    const auto removed = tree.file("removed", intel);
    scan({tree.path()});
    services.readSavedScan = [this] { return store->readScanFile(); };
    const int writes = store->writes;
    for (const bool scans : {false, true}) {
        made = std::make_unique<Scanner>(services);
        EXPECT_TRUE(scanner().loading() && scanner().groups().empty());
        scanner().stop();
        EXPECT_EQ(store->writes, writes);
        if (scans) scanner().startScan({tree.at("nothing")});
        if (!scans) services.order->announceRemoved({removed});
        settle();
        EXPECT_FALSE(scanner().loading() || scanner().scanning());
        EXPECT_EQ(roots(), scans ? Paths{} : Paths{kept});
        EXPECT_EQ(scanner().signatures().size(), 2U);
    }
}

TEST_F(ScannerTest, EndsOnceTheEarlierScanIsReadOrItIsStopped) {
    const auto path = tree.file("tool", intel);
    reader->change = [](FileAttributes& attributes) { attributes = {}; };
    for (const bool stops : {false, true}) {
        scanner().startScan({tree.path()}, false, [path] {
            auto record = test::savedScan({test::hitRef({path, {"x86_64"}, 0, 0, 7})});
            record.signatures->emplace(path, SignInfo{true, "Known"});
            return record;
        });
        const auto jobs = std::exchange(tasks->jobs, {});
        jobs.at(1)();
        loop->runPosted();
        EXPECT_EQ(scanner().allHits().at(0)->ctime, 0);
        EXPECT_TRUE(scanner().scanning() && scanner().walking());
        if (stops) scanner().stop();
        if (!stops) jobs.at(0)();
        loop->runPosted();
        EXPECT_FALSE(scanner().scanning() || scanner().walking());
        EXPECT_EQ(store->record->hits.at(0)->ctime, stops ? 0 : 7);
        EXPECT_EQ(scanner().signatures().at(path).vendor, "Known");
        EXPECT_EQ(scanner().groups().begin()->fix, Fix::apple);
    }
    EXPECT_TRUE(tasks->jobs.empty());
}

TEST_F(ScannerTest, KeepsTheMemoryOfScansThatEndByThemselvesAndNeedsNone) {
    struct CountingMemory : FileMemoryTable {
        explicit CountingMemory(int& count) : finished(count) {}
        void finish() override {
            ++finished;
            throw std::bad_alloc();
        }
        int& finished;
    };
    tree.file("tool", intel);
    int opened = 0;
    int finished = 0;
    services.memory = [&]() -> std::unique_ptr<FileMemory> {
        if (++opened == 1) throw std::bad_alloc();
        return std::make_unique<CountingMemory>(finished);
    };
    for (int scan = 1; scan <= 4; ++scan) {
        made.reset();
        store->record.reset();
        scanner().startScan({tree.path()});
        if (scan == 3) scanner().stop();
        if (scan == 4) made.reset();  // With its window.
        tasks->runHeld();
        loop->runPosted();
        EXPECT_EQ(scanner().allHits().size(), scan >= 3 ? 0U : 1U);
        EXPECT_EQ(opened, scan);
        EXPECT_EQ(finished, scan == 1 ? 0 : 1);
        tasks->jobs.clear();
    }
}

TEST_F(ScannerTest, PublishesSignaturesInOrderUntilItsWindowCloses) {
    for (int i = 0; i < 100; ++i) tree.file("f" + std::to_string(i), intel);
    std::vector<std::size_t> sizes;
    const auto watching = scanner().subscribe([&](ScannerField field) {
        if (field != ScannerField::signatures) return;
        sizes.push_back(scanner().signatures().size());
        auto found = roots();
        found.resize(sizes.back());
        for (const auto& root : found) EXPECT_TRUE(scanner().signatures().contains(root));
    });
    scan({tree.path()});
    EXPECT_EQ(sizes, (std::vector<std::size_t>{40, 80, 100}));
    EXPECT_EQ(inspected.size(), 100U);
    store->record->signatures->clear();
    made.reset();
    inspected.clear();
    closesAfter = 5;
    scanner();
    tasks->runHeld();
    EXPECT_LE(inspected.size(), closesAfter + std::thread::hardware_concurrency());
}

TEST_F(ScannerTest, KeepsTheSavedScanWhenMemoryRunsOut) {
    store->record = test::savedScan({test::hitRef({"/a", {"i386"}})});
    reader->works = [](auto, auto) -> bool { throw std::bad_alloc(); };
    services.inspect = [](const std::string&) -> SignInfo { throw std::bad_alloc(); };
    scanner();
    EXPECT_THROW(tasks->runHeld(), std::bad_alloc);
    loop->runPosted();
    EXPECT_EQ(scanner().signaturePasses(), 0U);
    scanner().startScan({tree.path()});
    tasks->jobs.front()();
    EXPECT_THROW(tasks->jobs.back()(), std::bad_alloc);
    loop->runPosted();
    EXPECT_FALSE(scanner().scanning() || scanner().walking());
    scanner().saveCache();
    EXPECT_EQ(store->record->hits.size(), 1U);
}

TEST_F(ScannerTest, MayBeDestroyedAtAnyMoment) {
    for (int i = 0; i < 2500; ++i)
        tree.file(std::to_string(i % 50) + "/" + std::to_string(i), intel);
    services.background = std::make_shared<ThreadTasks>();
    for (int round = 0; round < 8; ++round) {
        scanner().startScan({tree.path()});
        if (round % 2 == 1) loop->runUntil([this] { return scanner().scannedCount() > 0; });
        if (round >= 4) loop->runUntil([this] { return !scanner().walking(); });
        made.reset();
        loop->runPosted();
    }
    services.background.reset();
    loop->runPosted();
}

/// The same with a saved scan that is made up, of paths in the tree.
struct ScannerRemovalTest : ScannerTest {
    ScannerRemovalTest() { store->record = test::savedScan(); }
    void found(const Paths& paths, const std::string& arch = "x86_64") {
        for (const auto& path : paths) {
            store->record->hits.push_back(test::hitRef({tree.at(path), {arch}}));
        }
    }
    std::optional<std::string> trashGroups(const Paths& paths) {
        RootSet whole;
        for (const auto& path : paths) whole.insert(tree.at(path));
        return scanner().trashGroups(whole);
    }
    [[nodiscard]] Paths left() {
        Paths paths;
        for (const auto& hit : scanner().allHits()) {
            paths.push_back(hit->path.substr(tree.path().size() + 1));
        }
        return paths;
    }
};

TEST_F(ScannerRemovalTest, ForgetsWhatLiesUnderRemovedRootsAndNothingElse) {
    const Paths stays{"Foo.app2/x", "Fo", "Bad.app/x", "Worse.app/x"};
    found({"Foo.app/a", "Bar.app/a"});
    found(stays);
    found({"Foo.app/b/c", "tool"});
    trash->failing = {tree.at("Bad.app"), tree.at("Worse.app")};
    const auto message = "cannot move " + tree.at("Bad.app");
    EXPECT_EQ(trashGroups({"Foo.app", "Bad.app", "Bar.app", "Worse.app", "tool", "Gone.app"}),
              message);
    EXPECT_EQ(trash->taken, (Paths{tree.at("Foo.app"), tree.at("Bar.app"), tree.at("tool")}));
    EXPECT_EQ(left(), stays);
    EXPECT_EQ(scanner().groups().size(), stays.size());
    EXPECT_EQ(store->record->hits.size(), stays.size());
    EXPECT_EQ(store->record->date, 0);
    EXPECT_EQ(scanner().trashPath(tree.at("Bad.app")), message);
    EXPECT_EQ(store->writes, 1);
    trash->failing.clear();
    EXPECT_EQ(scanner().trashPath(tree.at("Bad.app")), std::nullopt);
    EXPECT_EQ(left(), (Paths{stays[0], stays[1], stays[3]}));
    EXPECT_EQ(store->writes, 2);
}

TEST_F(ScannerRemovalTest, WhatWasRemovedDoesNotComeBackWhileItsScanRuns) {
    for (int i = 0; i < 2200; ++i) tree.file("Foo.app/" + std::to_string(i), intel);
    tree.file("b/Foo.app2", intel);
    scanner().startScan({tree.at("Foo.app"), tree.at("b")});
    tasks->runHeld();
    loop->runUntil([this] { return !scanner().allHits().empty(); });
    EXPECT_EQ(left().size(), 2000U);
    EXPECT_EQ(scanner().scannedCount(), 2000);
    EXPECT_FALSE(scanner().currentPath().empty());
    EXPECT_EQ(trashGroups({"Foo.app"}), std::nullopt);
    settle();
    EXPECT_TRUE(scanner().currentPath().empty());
    EXPECT_EQ(left(), Paths{"b/Foo.app2"});
    EXPECT_EQ(store->record->hits.size(), 1U);
    // The Trash of this test has moved nothing, so the next scan finds it again.
    scan({tree.at("Foo.app")});
    EXPECT_EQ(left().size(), 2200U);
}

TEST_F(ScannerRemovalTest, WhatOneWindowRemovesNoOtherOneBringsBack) {
    found({"Foo.app/a", "Bar.app/a"});
    scanner();
    auto other = std::make_unique<Scanner>(services);
    EXPECT_EQ(trashGroups({"Foo.app"}), std::nullopt);
    EXPECT_EQ(other->groups().size(), 1U);
    other->saveCache();
    EXPECT_EQ(store->record->hits.size(), 1U);
    // The scan that is saved is another window's, which is closed by now.
    for (const auto* file : {"Bar.app/a", "Baz.app/a"}) tree.file(file, intel);
    other->startScan({tree.path()});
    settle();
    const auto saved = store->record->hits.size();
    other.reset();
    EXPECT_EQ(trashGroups({"Bar.app"}), std::nullopt);
    EXPECT_EQ(store->record->hits.size(), saved - 1);
    EXPECT_EQ(scanner().trashPath(tree.at("Baz.app")), std::nullopt);
    EXPECT_EQ(store->record->hits.size(), saved - 2);
}

TEST_F(ScannerRemovalTest, NeverTakesWhatIsProtectedSignedByAppleKeptOrOnlyALink) {
    fs::create_symlink(tree.folder("real"), tree.at("link"));
    fs::create_symlink("/usr/bin", tree.at("bin"));
    fs::create_symlink("/usr", tree.at("Link.app"));
    found({"bin/tool", "real/Signed.app/x", "real/Kept.app/x", "link/Signed.app/x",
           "link/Kept.app/x", "Link.app/x"});
    tree.file("Support/updater", test::fatMachO({test::cpuX86_64, test::cpuArm64}));
    found({"Support/updater", "Support/Gone.app/a"});
    found({"Support/updater", "Support/Gone.app/b", "real/Kept.app/native"}, "arm64");
    store->record->signatures->emplace(tree.at("real/Signed.app"), SignInfo{true, ""});
    EXPECT_EQ(trashGroups({"real/Signed.app", "real/Kept.app"}), std::nullopt);
    const std::tuple<const char*, std::string, std::string> refusals[] = {
        {"bin/tool", "tool", "is protected by the system"},
        {"link/Signed.app", "Signed.app", "is signed by Apple"},
        {"link/Kept.app", "Kept.app", "also runs natively"},
        {"Link.app", "Link.app", "is only a link to what the scan found"},
    };
    for (const auto& [path, name, why] : refusals) {
        EXPECT_EQ(trashGroups({path}), "“" + name + "” " + why + " and was left in its place.");
    }
    for (const auto& path : {std::string("/System/Library/X"), std::string("/Library/Apple"),
                             std::string("/Library"), std::string("/"), tree.at("real/..")}) {
        EXPECT_TRUE(scanner().trashPath(path)) << path;
    }
    EXPECT_TRUE(trash->taken.empty());
    EXPECT_EQ(left().size(), 11U);
    // Only a kept bundle that is still there keeps the folder around it.
    EXPECT_EQ(scanner().trashPath(tree.at("Support")), std::nullopt);
}

}  // namespace
}  // namespace vestigo
