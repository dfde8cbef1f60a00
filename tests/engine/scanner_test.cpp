#include "engine/scanner.h"

#include <latch>
#include <mutex>

#include "platform/posix/posix_files.h"
#include "platform/posix/thread_tasks.h"
#include "platform/run_loop.h"
#include "platform/system.h"
#include "tests/support/service_fakes.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;

/// A Scanner that is made when first asked for. Signatures are inspected once the gate is open.
struct ScannerTest : testing::Test {
    ~ScannerTest() override { openGate(); }

    Scanner& scanner() {
        if (!made) made = std::make_unique<Scanner>(servicesOf());
        return *made;
    }
    ScannerServices servicesOf() {
        ScannerServices services;
        services.main = loop;
        services.background = tasks;
        services.reader = systemDirectoryReader();
        services.store = store;
        services.inspect = [this](const std::string& root) { return inspect(root); };
        services.now = [] { return 99.5; };
        services.trash = trash;
        services.files = std::make_shared<PosixFiles>();
        services.order = order;
        return services;
    }
    SignInfo inspect(const std::string& root) {
        gate.wait();
        const std::lock_guard lock(mutex);
        inspected.push_back(root);
        return {root.ends_with("apple"), "Vendor"};
    }
    void openGate() {
        if (!gate.try_wait()) gate.count_down();
    }
    void settle() {
        openGate();
        loop->runUntil([this] { return !scanner().walking() && scanner().signaturePasses() == 0; });
    }
    void scan() {
        scanner().startScan({tree.path()});
        settle();
    }
    [[nodiscard]] Paths roots() {
        Paths result;
        for (const auto& group : scanner().groups()) result.push_back(group.root);
        return result;
    }

    test::TemporaryTree tree;
    std::shared_ptr<RunLoop> loop = std::make_shared<RunLoop>();
    std::shared_ptr<test::MemoryStore> store = std::make_shared<test::MemoryStore>();
    std::shared_ptr<test::FakeTrash> trash = std::make_shared<test::FakeTrash>();
    std::shared_ptr<ScanOrder> order = std::make_shared<ScanOrder>();
    std::latch gate{1};
    std::mutex mutex;
    Paths inspected;
    std::shared_ptr<BackgroundTasks> tasks = std::make_shared<ThreadTasks>();
    std::unique_ptr<Scanner> made;
    const std::string intel = test::thinMachO(test::cpuX86_64);
};

TEST_F(ScannerTest, ScansInspectsAndSaves) {
    tree.file("bin/tool", intel);
    const auto apple = tree.file("bin/apple", intel);
    tree.file("bin/arm", test::thinMachO(test::cpuArm64));
    scanner().startScan({tree.path()});
    EXPECT_TRUE(scanner().scanning());
    scanner().startScan({"/elsewhere"});
    EXPECT_EQ(scanner().lastRoots(), Paths{tree.path()});
    settle();

    EXPECT_FALSE(scanner().scanning());
    EXPECT_EQ(scanner().scannedCount(), 3);
    EXPECT_EQ(scanner().allHits().size(), 3U);
    EXPECT_EQ(scanner().groups().size(), 2U);
    for (const auto& group : scanner().groups()) {
        EXPECT_EQ(group.fix, group.root == apple ? Fix::apple : Fix::manual);
    }
    ASSERT_TRUE(store->record);
    EXPECT_EQ(scanner().lastScanDate(), 99.5);
    EXPECT_EQ(store->record->date, 99.5);
    EXPECT_EQ(store->record->hits.size(), 3U);
    EXPECT_EQ(store->record->signatures->size(), 2U);
}

TEST_F(ScannerTest, ShowsTheSavedScanAgainAndInspectsWhatItLacks) {
    tree.file("a", intel);
    const auto b = tree.file("b", intel);
    scan();
    store->record->signatures->erase(b);
    inspected.clear();
    made.reset();
    EXPECT_EQ(scanner().allHits().size(), 2U);
    EXPECT_EQ(scanner().lastRoots(), Paths{tree.path()});
    EXPECT_EQ(scanner().lastScanDate(), 99.5);
    settle();
    EXPECT_EQ(inspected, Paths{b});
    const auto c = tree.file("c", intel);
    scan();
    EXPECT_EQ(inspected, (Paths{b, c}));
    EXPECT_EQ(roots().size(), 3U);
}

TEST_F(ScannerTest, StopsAtOnceAndDropsWhatComesOnceTheNextScanRuns) {
    tree.file("old/a", intel);
    const auto fresh = tree.file("new/b", intel);
    const auto held = std::make_shared<test::HeldTasks>();
    tasks = held;
    openGate();
    scanner().startScan({tree.at("old")});
    held->runHeld();
    scanner().stop();
    EXPECT_FALSE(scanner().scanning());
    EXPECT_EQ(store->writes, 1);
    scanner().startScan({tree.at("new")});
    loop->runPosted();
    EXPECT_TRUE(scanner().walking() && scanner().allHits().empty());
    while (!held->jobs.empty()) {
        held->runHeld();
        loop->runPosted();
    }
    EXPECT_EQ(roots(), Paths{fresh});
    EXPECT_EQ(scanner().scannedCount(), 1);
}

/// One folder of one Mach-O file that is said to have been made at no time.
struct DatelessReader : DirectoryReader {
    struct File : HeaderFile {
        std::optional<std::size_t> readStart(std::span<std::byte> buffer) override {
            return test::thinMachO(test::cpuX86_64)
                .copy(reinterpret_cast<char*>(buffer.data()), buffer.size());
        }
        std::optional<FileAttributes> attributes() override { return FileAttributes{}; }
    };
    struct OneFile : Folder {
        bool list(const std::function<bool(const FolderEntry&)>& visitor) override {
            return visitor({.name = "tool", .kind = EntryKind::file, .attributes = {}});
        }
        std::optional<FileAttributes> attributes(const char*) override { return FileAttributes{}; }
        std::unique_ptr<HeaderFile> openFile(const char*) override {
            return std::make_unique<File>();
        }
        std::unique_ptr<Folder> openFolder(std::string_view) override { return nullptr; }
    };
    std::unique_ptr<Folder> open(const std::string&) override {
        return std::make_unique<OneFile>();
    }
    unsigned maxOpenFolders() const override { return 8; }
};

TEST_F(ScannerTest, EndsOnceTheEarlierScanIsReadOrItIsStopped) {
    const auto held = std::make_shared<test::HeldTasks>();
    tasks = held;
    auto services = servicesOf();
    services.reader = std::make_shared<DatelessReader>();
    made = std::make_unique<Scanner>(services);
    openGate();
    for (const bool stops : {false, true}) {
        held->jobs.clear();
        inspected.clear();
        scanner().startScan({"/disk"}, false, [] {
            auto record = test::savedScan({test::hitRef({"/disk/tool", {"x86_64"}, 0, 0, 7})});
            record.signatures->emplace("/disk/tool", SignInfo{true, "Known"});
            return record;
        });
        const auto reading = held->jobs.at(0);
        held->jobs.at(1)();
        loop->runPosted();
        EXPECT_EQ(scanner().allHits().at(0)->ctime, 0);
        EXPECT_TRUE(scanner().scanning() && scanner().walking());
        if (stops) scanner().stop();
        if (!stops) reading();
        loop->runPosted();
        EXPECT_FALSE(scanner().scanning() || scanner().walking());
        EXPECT_EQ(store->record->hits.at(0)->ctime, stops ? 0 : 7);
        EXPECT_EQ(scanner().signatures().at("/disk/tool").vendor, "Known");
        EXPECT_EQ(scanner().groups().begin()->fix, Fix::apple);
    }
    EXPECT_TRUE(inspected.empty());
}

TEST_F(ScannerTest, KeepsTheMemoryOfScansThatEndByThemselvesAndNeedsNone) {
    struct CountingMemory : FileMemory {
        explicit CountingMemory(int& count) : finished(count) {}
        std::int64_t now() const override { return 0; }
        std::uint64_t fingerprint(std::string_view, const FileAttributes&) const override {
            return 1;
        }
        bool contains(std::uint64_t) override { return false; }
        void add(std::span<const std::uint64_t>) override {}
        void finish() override {
            ++finished;
            throw std::bad_alloc();
        }
        int& finished;
    };
    tree.file("tool", intel);
    const auto held = std::make_shared<test::HeldTasks>();
    tasks = held;
    int opened = 0;
    int finished = 0;
    auto services = servicesOf();
    services.memory = [&]() -> std::unique_ptr<FileMemory> {
        if (++opened == 1) throw std::bad_alloc();
        return std::make_unique<CountingMemory>(finished);
    };
    openGate();
    for (int scan = 1; scan <= 4; ++scan) {
        made = std::make_unique<Scanner>(services);
        store->record.reset();
        scanner().startScan({tree.path()});
        if (scan == 3) scanner().stop();
        if (scan == 4) made.reset();  // With its window.
        held->runHeld();
        loop->runPosted();
        EXPECT_EQ(scanner().allHits().size(), scan >= 3 ? 0U : 1U);
        EXPECT_EQ(opened, scan);
        EXPECT_EQ(finished, scan == 1 ? 0 : 1);
        held->jobs.clear();
    }
}

TEST_F(ScannerTest, MergesOverlappingSignaturePasses) {
    tree.file("a", intel);
    tree.file("b", test::thinMachO(test::cpuArm64));
    scanner().startScan({tree.path()});
    loop->runUntil([this] { return !scanner().walking(); });
    scanner().setIntelOnly(false);
    EXPECT_EQ(scanner().signaturePasses(), 2U);
    settle();
    EXPECT_EQ(scanner().signatures().size(), 2U);
    EXPECT_EQ(inspected.size(), 3U);
    scanner().setIntelOnly(true);
    EXPECT_EQ(scanner().signaturePasses(), 0U);
    EXPECT_EQ(roots(), Paths{tree.at("a")});
}

TEST_F(ScannerTest, PublishesSignaturesInOrderHoweverManyAreInspectedAtATime) {
    for (int i = 0; i < 100; ++i) tree.file("f" + std::to_string(i), intel);
    std::vector<std::size_t> sizes;
    bool inOrder = true;
    const auto watching = scanner().subscribe([&](ScannerField field) {
        if (field != ScannerField::signatures) return;
        sizes.push_back(scanner().signatures().size());
        const auto found = roots();
        for (std::size_t i = 0; i < sizes.back(); ++i) {
            inOrder = inOrder && scanner().signatures().contains(found[i]);
        }
    });
    scan();
    EXPECT_EQ(sizes, (std::vector<std::size_t>{40, 80, 100}));
    EXPECT_TRUE(inOrder);
    EXPECT_EQ(inspected.size(), 100U);
}

TEST_F(ScannerTest, KeepsPrunedHitsAwayWhileTheScanGoesOn) {
    for (int i = 0; i < 2500; ++i) tree.file("A.app/f" + std::to_string(i), intel);
    scanner().startScan({tree.path()});
    loop->runUntil([this] { return !scanner().allHits().empty(); });
    EXPECT_EQ(scanner().scannedCount(), 2000);
    const auto gone = scanner().allHits().front()->path;
    scanner().pruneHits(gone);
    scanner().regroup();
    settle();
    EXPECT_EQ(scanner().allHits().size(), 2499U);
    EXPECT_EQ(scanner().groups().begin()->legacyCount(), 2499U);
    EXPECT_TRUE(scanner().currentPath().empty());
}

TEST_F(ScannerTest, TakesOverWhatHasNotChangedAndReadsNothingForAClosedWindow) {
    const auto path = tree.file("tool", intel);
    const auto status = systemDirectoryReader()->open(tree.path())->attributes("tool").value();
    store->record =
        test::savedScan({test::hitRef({path, {"ppc"}, status.size, status.mtime, status.ctime})});
    tree.file("arm", test::thinMachO(test::cpuArm64));
    const auto held = std::make_shared<test::HeldTasks>();
    tasks = held;
    openGate();
    scanner().startScan({tree.path()});
    // Signatures that come during a scan do not save half of it.
    for (const auto& job : std::exchange(held->jobs, {})) {
        EXPECT_EQ(store->writes, 0);
        job();
        loop->runPosted();
    }
    EXPECT_EQ(store->writes, 1);
    EXPECT_EQ(scanner().groups().begin()->hits.at(0)->archs, Paths{"ppc"});
    scanner().setIntelOnly(false);
    scanner().startScan({tree.path()});
    inspected.clear();
    made.reset();
    while (!held->jobs.empty()) held->runHeld();
    EXPECT_TRUE(inspected.empty());
}

TEST_F(ScannerTest, KeepsTheSavedScanWhenMemoryRunsOut) {
    struct NoMemory : DirectoryReader {
        std::unique_ptr<Folder> open(const std::string&) override { throw std::bad_alloc(); }
        unsigned maxOpenFolders() const override { return 8; }
    };
    store->record = test::savedScan({test::hitRef({"/a", {"i386"}})});
    std::atomic<int> told = 0;
    tasks = std::make_shared<ThreadTasks>([&told] { ++told; });
    auto services = servicesOf();
    services.reader = std::make_shared<NoMemory>();
    services.inspect = [](const std::string&) -> SignInfo { throw std::bad_alloc(); };
    made = std::make_unique<Scanner>(services);
    settle();
    scanner().startScan({"/disk"});
    settle();
    EXPECT_FALSE(scanner().scanning());
    scanner().saveCache();
    EXPECT_EQ(store->record->hits.size(), 1U);
    while (told < 2) std::this_thread::yield();
}

TEST_F(ScannerTest, MayBeDestroyedAtAnyMoment) {
    for (int i = 0; i < 2500; ++i)
        tree.file("d" + std::to_string(i % 50) + "/f" + std::to_string(i), intel);
    for (int round = 0; round < 8; ++round) {
        scanner().startScan({tree.path()});
        if (round % 2 == 1) loop->runUntil([this] { return scanner().scannedCount() > 0; });
        if (round >= 4) loop->runUntil([this] { return !scanner().walking(); });
        made.reset();
        openGate();
        loop->runPosted();
    }
    tasks.reset();
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
    void apple(const std::string& root) {
        store->record->signatures->emplace(tree.at(root), SignInfo{true, ""});
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
    for (int i = 0; i < 3000; ++i) tree.file("a/Foo.app/" + std::to_string(i), intel);
    tree.file("b/Foo.app2", intel);
    openGate();
    scanner().startScan({tree.at("a"), tree.at("b")});
    loop->runUntil([this] { return !scanner().groups().empty(); });
    ASSERT_TRUE(scanner().walking());
    EXPECT_EQ(trashGroups({"a/Foo.app"}), std::nullopt);
    EXPECT_TRUE(left().empty());
    loop->runUntil([this] { return !scanner().walking(); });
    EXPECT_EQ(left(), Paths{"b/Foo.app2"});
    EXPECT_EQ(store->record->hits.size(), 1U);
    // The Trash of this test has moved nothing, so the next scan finds it again.
    scanner().startScan({tree.at("a")});
    loop->runUntil([this] { return !scanner().walking(); });
    EXPECT_EQ(left().size(), 3000U);
}

TEST_F(ScannerRemovalTest, OnlyAKeptBundleThatIsStillThereKeepsTheFolderAroundIt) {
    tree.file("Support/updater", test::fatMachO({test::cpuX86_64, test::cpuArm64}));
    found({"Support/updater", "Support/Gone.app/a"});
    for (const auto* path : {"Support/updater", "Support/Gone.app/b"}) found({path}, "arm64");
    openGate();
    EXPECT_EQ(scanner().trashPath(tree.at("Support")), std::nullopt);
}

TEST_F(ScannerTest, ALateSaveDoesNotUndoTheLaterScanOfAnotherWindow) {
    tree.file("old", intel);
    scanner().startScan({tree.path()});
    loop->runUntil([this] { return !scanner().walking(); });
    ASSERT_EQ(scanner().signaturePasses(), 1U);
    ScannerServices services = servicesOf();
    Scanner other(services);
    tree.file("new", intel);
    other.startScan({tree.path()});
    loop->runUntil([&other] { return !other.walking(); });
    openGate();
    loop->runUntil([&] { return scanner().signaturePasses() + other.signaturePasses() == 0; });
    scanner().setIntelOnly(false);
    scanner().saveCache();
    EXPECT_EQ(store->record->hits.size(), 2U);
    // Of the same scan all may be saved, and a later scan takes the place of every other.
    scanner().startScan({tree.at("none")});
    loop->runUntil([this] { return !scanner().walking(); });
    EXPECT_TRUE(store->record->hits.empty());
}

TEST_F(ScannerRemovalTest, WhatOneWindowRemovesNoOtherOneBringsBack) {
    found({"Foo.app/a", "Bar.app/a"});
    scanner();
    auto other = std::make_unique<Scanner>(servicesOf());
    EXPECT_EQ(trashGroups({"Foo.app"}), std::nullopt);
    EXPECT_EQ(other->groups().size(), 1U);
    other->saveCache();
    EXPECT_EQ(store->record->hits.size(), 1U);
    // The scan that is saved is another window's, which is closed by now.
    for (const auto* file : {"Bar.app/a", "Baz.app/a"}) tree.file(file, intel);
    openGate();
    other->startScan({tree.path()});
    loop->runUntil([&other] { return !other->walking(); });
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
    found({"real/Kept.app/native"}, "arm64");
    apple("real/Signed.app");
    const auto text = [](const std::string& name, const std::string& why) {
        return "“" + name + "” " + why + " and was left in its place.";
    };
    EXPECT_EQ(trashGroups({"real/Signed.app", "real/Kept.app"}), std::nullopt);
    EXPECT_EQ(trashGroups({"bin/tool"}), text("tool", "is protected by the system"));
    EXPECT_EQ(trashGroups({"link/Signed.app"}), text("Signed.app", "is signed by Apple"));
    EXPECT_EQ(trashGroups({"link/Kept.app"}), text("Kept.app", "also runs natively"));
    EXPECT_EQ(trashGroups({"Link.app"}), text("Link.app", "is only a link to what the scan found"));
    for (const auto& path : {std::string("/System/Library/X"), std::string("/Library/Apple"),
                             std::string("/Library"), std::string("/"), tree.at("real/..")}) {
        EXPECT_TRUE(scanner().trashPath(path)) << path;
    }
    EXPECT_TRUE(trash->taken.empty());
    EXPECT_EQ(left().size(), 7U);
}

}  // namespace
}  // namespace vestigo
