#include "engine/scanner.h"

#include <filesystem>
#include <latch>
#include <mutex>
#include <set>

#include <gtest/gtest.h>

#include "engine/removal_guard.h"
#include "platform/linux/linux_directory_reader.h"
#include "platform/posix/posix_files.h"
#include "platform/posix/thread_tasks.h"
#include "platform/run_loop.h"
#include "tests/support/mach_o_maker.h"
#include "tests/support/scan_fakes.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;

/// Takes what it is given unless told otherwise.
class FakeTrash : public Trash {
public:
    std::optional<std::string> moveToTrash(const std::string& path) override {
        asked.push_back(path);
        if (failing.contains(path)) return "cannot move " + path;
        return std::nullopt;
    }
    Paths asked;
    std::set<std::string> failing;
};

/// Files whose folders lead elsewhere as told.
class LeadingFiles : public PosixFiles {
public:
    std::optional<std::string> resolved(const std::string& path) override {
        const auto found = leads.find(path);
        return found == leads.end() ? path : found->second;
    }
    std::unordered_map<std::string, std::string> leads;
};

/// A Scanner that is made when first asked for. Signatures are inspected once the gate is open.
struct ScannerTest : testing::Test {
    ~ScannerTest() override { openGate(); }

    Scanner& scanner() {
        if (made) return *made;
        ScannerServices services;
        services.main = loop;
        services.background = tasks;
        services.reader = std::make_shared<LinuxDirectoryReader>();
        services.store = store;
        services.inspect = [this](const std::string& root) { return inspect(root); };
        services.now = [] { return 99.5; };
        services.trash = trash;
        services.files = files;
        made = std::make_unique<Scanner>(services);
        return *made;
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
    std::shared_ptr<FakeTrash> trash = std::make_shared<FakeTrash>();
    std::shared_ptr<LeadingFiles> files = std::make_shared<LeadingFiles>();
    std::latch gate{1};
    std::mutex mutex;
    Paths inspected;
    std::shared_ptr<ThreadTasks> tasks = std::make_shared<ThreadTasks>();
    std::unique_ptr<Scanner> made;
    const std::string intel = test::thinMachO(test::cpuX86_64);
};

TEST_F(ScannerTest, ScansPublishesInspectsAndSaves) {
    tree.file("bin/tool", intel);
    const auto apple = tree.file("bin/apple", intel);
    tree.file("bin/arm", test::thinMachO(test::cpuArm64));
    std::set<ScannerField> seen;
    const auto watching = scanner().subscribe([&](ScannerField field) { seen.insert(field); });
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
    EXPECT_EQ(seen.size(), 8U);  // all but intelOnly
    ASSERT_TRUE(store->record);
    EXPECT_EQ(store->record->version, 3);
    EXPECT_EQ(store->record->date, 99.5);
    EXPECT_EQ(store->record->hits.size(), 3U);
    EXPECT_EQ(store->record->signatures->size(), 2U);
}

TEST_F(ScannerTest, ShowsTheSavedScanAgainAndInspectsWhatItLacks) {
    const auto a = tree.file("a", intel);
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

TEST_F(ScannerTest, StopsAtOnceAndStillTakesWhatWasFound) {
    for (int i = 0; i < 3000; ++i) tree.file("f" + std::to_string(i), intel);
    scanner().startScan({tree.path()});
    scanner().stop();
    EXPECT_FALSE(scanner().scanning());
    EXPECT_EQ(store->writes, 1);
    EXPECT_TRUE(scanner().walking());
    settle();
    EXPECT_EQ(scanner().lastScanDate(), 99.5);
    EXPECT_GE(store->writes, 2);
}

TEST_F(ScannerTest, DropsTheHandOversOfAnEarlierScan) {
    tree.file("old/a", intel);
    const auto fresh = tree.file("new/b", intel);
    scanner().startScan({tree.at("old")});
    scanner().stop();
    scanner().startScan({tree.at("new")});
    settle();
    EXPECT_EQ(roots(), Paths{fresh});
    EXPECT_EQ(scanner().scannedCount(), 1);
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

TEST_F(ScannerTest, KeepsPrunedHitsAwayWhileTheScanGoesOn) {
    for (int i = 0; i < 5000; ++i) tree.file("A.app/f" + std::to_string(i), intel);
    scanner().startScan({tree.path()});
    loop->runUntil([this] { return scanner().allHits().size() >= 2000; });
    const auto gone = scanner().allHits().front()->path;
    scanner().pruneHits(gone);
    scanner().regroup();
    settle();
    EXPECT_EQ(scanner().allHits().size(), 4999U);
    EXPECT_EQ(scanner().groups().begin()->legacyCount(), 4999U);
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

/// The same with a saved scan that is made up.
struct ScannerRemovalTest : ScannerTest {
    ScannerRemovalTest() {
        store->record = ScanFile{
            .version = scanFileVersion, .roots = {}, .hits = {}, .signatures = SignatureMap{}};
    }
    void found(const Paths& paths, const std::vector<std::string>& archs = {"x86_64"}) {
        for (const auto& path : paths) {
            const BinaryHit hit{path, archs, 1, 2, 3};
            store->record->hits.push_back(std::make_shared<BinaryHit>(hit));
        }
    }
    void apple(const std::string& root) {
        store->record->signatures->emplace(root, SignInfo{true, ""});
    }
    [[nodiscard]] static Paths pathsOf(const HitList& hits) {
        Paths paths;
        for (const auto& hit : hits) paths.push_back(hit->path);
        return paths;
    }
};

TEST_F(ScannerRemovalTest, ForgetsWhatLiesUnderRemovedRootsAndNothingElse) {
    const Paths stays{"/Applications/Foo.app2/x", "/Applications/Fo", "/Applications/Other.app/x"};
    found({"/Applications/Foo.app/a", "/Applications/Bar.app/a"});
    found(stays);
    found({"/Applications/Foo.app/b/c", "/usr/local/bin/tool"});
    EXPECT_EQ(scanner().trashGroups({"/Applications/Foo.app", "/Applications/Bar.app",
                                     "/usr/local/bin/tool", "/Applications/Gone.app"}),
              std::nullopt);
    EXPECT_EQ(trash->asked,
              (Paths{"/Applications/Foo.app", "/Applications/Bar.app", "/usr/local/bin/tool"}));
    EXPECT_EQ(pathsOf(scanner().allHits()), stays);
    EXPECT_EQ(scanner().groups().size(), 3U);
    EXPECT_EQ(pathsOf(store->record->hits), stays);
    EXPECT_EQ(store->writes, 1);
}

TEST_F(ScannerRemovalTest, GoesOnAfterFailuresAndKeepsTheFirst) {
    found({"/A.app/x", "/B.app/x", "/C.app/x", "/A.app2/x"});
    trash->failing = {"/A.app", "/C.app"};
    EXPECT_EQ(scanner().trashGroups({"/A.app", "/B.app", "/C.app"}), "cannot move /A.app");
    EXPECT_EQ(pathsOf(scanner().allHits()), (Paths{"/A.app/x", "/C.app/x", "/A.app2/x"}));
    EXPECT_EQ(scanner().trashGroups({"/none"}), std::nullopt);
    EXPECT_EQ(store->writes, 2);
    EXPECT_EQ(scanner().trashPath("/A.app"), "cannot move /A.app");
    EXPECT_EQ(store->writes, 2);
    trash->failing.clear();
    EXPECT_EQ(scanner().trashPath("/A.app"), std::nullopt);
    EXPECT_EQ(pathsOf(scanner().allHits()), (Paths{"/C.app/x", "/A.app2/x"}));
    EXPECT_EQ(store->writes, 3);
}

TEST_F(ScannerRemovalTest, PassesOverWhatIsNeverRemovedWithoutAWord) {
    found({"/System/Library/A.app/x", "/Signed.app/x", "/Kept.app/x"});
    found({"/Kept.app/native"}, {"arm64"});
    apple("/Signed.app");
    EXPECT_EQ(scanner().trashGroups({"/System/Library/A.app", "/Signed.app", "/Kept.app"}),
              std::nullopt);
    EXPECT_TRUE(trash->asked.empty());
    EXPECT_EQ(scanner().allHits().size(), 4U);
}

TEST_F(ScannerRemovalTest, RefusesWhatReallyLiesWhereNothingIsRemoved) {
    files->leads = {{"/a/", "/System/Library"}, {"/b/", "/Applications"}};
    found({"/a/X.app/x", "/b/Signed.app/x", "/b/Kept.app/x", "/Applications/Kept.app/x"});
    found({"/Applications/Kept.app/native"}, {"arm64"});
    apple("/Applications/Signed.app");
    const auto text = [](const std::string& name, const std::string& why) {
        return "“" + name + "” " + why + " and was left in its place.";
    };
    EXPECT_EQ(scanner().trashGroups({"/a/X.app", "/b/Kept.app"}),
              text("X.app", "is protected by the system"));
    EXPECT_EQ(scanner().trashGroups({"/b/Signed.app"}), text("Signed.app", "is signed by Apple"));
    EXPECT_EQ(scanner().trashPath("/b/Kept.app"), text("Kept.app", "also runs natively"));
    for (const auto* path : {"/System/Library/X", "/Library/Apple", "/Library", "/"}) {
        EXPECT_TRUE(scanner().trashPath(path)) << path;
    }
    EXPECT_TRUE(trash->asked.empty());
    EXPECT_EQ(scanner().allHits().size(), 5U);
    EXPECT_EQ(store->writes, 2);
}

TEST_F(ScannerRemovalTest, RefusesABundleThatALinkHasReplaced) {
    found({tree.at("Foo.app/x")});
    fs::create_symlink("/usr", tree.at("Foo.app"));
    EXPECT_EQ(scanner().trashGroups({tree.at("Foo.app")}),
              "“Foo.app” is only a link to what the scan found and was left in its place.");
    EXPECT_TRUE(trash->asked.empty());
}

TEST(RealPlace, FollowsTheFoldersButNotTheItem) {
    const test::TemporaryTree tree;
    PosixFiles files;
    fs::create_symlink(tree.folder("real"), tree.at("link"));
    fs::create_symlink("/usr/bin", tree.at("real/item"));
    EXPECT_EQ(realPlace(tree.at("link/item"), files), tree.at("real/item"));
    EXPECT_EQ(realPlace("/item", files), "/item");
    for (const auto* path : {"link/", "link/.", "link/..", "none/item"}) {
        EXPECT_EQ(realPlace(tree.at(path), files), std::nullopt) << path;
    }
    EXPECT_TRUE(protectionOf(tree.at("link/item/env"), files));
    EXPECT_FALSE(protectionOf(tree.at("link/item"), files));
}

}  // namespace
}  // namespace vestigo
