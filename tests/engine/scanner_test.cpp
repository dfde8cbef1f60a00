#include "engine/scanner.h"

#include <latch>
#include <mutex>
#include <set>

#include <gtest/gtest.h>

#include "platform/linux/linux_directory_reader.h"
#include "platform/posix/thread_tasks.h"
#include "platform/run_loop.h"
#include "tests/support/mach_o_maker.h"
#include "tests/support/scan_fakes.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

using Paths = std::vector<std::string>;

class ScannerTest : public testing::Test {
protected:
    ScannerTest() { make(); }

    void make() {
        scanner.reset();
        scanner = std::make_unique<Scanner>(
            ScannerServices{.main = loop,
                            .background = tasks,
                            .reader = std::make_shared<LinuxDirectoryReader>(),
                            .store = store,
                            .inspect = [this](const std::string& root) { return inspect(root); },
                            .migrate = {},
                            .now = [] { return 99.5; }});
    }

    void openGate() {
        if (!gate.try_wait()) gate.count_down();
    }
    SignInfo inspect(const std::string& root) {
        gate.wait();
        const std::lock_guard lock(mutex);
        inspected.push_back(root);
        return {root.ends_with("apple"), "Vendor"};
    }

    void settle() {
        openGate();
        loop->runUntil([this] { return !scanner->walking() && scanner->signaturePasses() == 0; });
    }
    void scan() {
        scanner->startScan({tree.path()});
        settle();
    }
    [[nodiscard]] Paths roots() const {
        Paths result;
        for (const auto& group : scanner->groups()) result.push_back(group.root);
        return result;
    }

    test::TemporaryTree tree;
    std::shared_ptr<RunLoop> loop = std::make_shared<RunLoop>();
    std::shared_ptr<ThreadTasks> tasks = std::make_shared<ThreadTasks>();
    std::shared_ptr<test::MemoryStore> store = std::make_shared<test::MemoryStore>();
    std::latch gate{1};  ///< Background work waits at it until the test opens it.
    std::mutex mutex;
    Paths inspected;
    std::unique_ptr<Scanner> scanner;
    const std::string intel = test::thinMachO(test::cpuX86_64);
};

TEST_F(ScannerTest, ScansPublishesInspectsAndSaves) {
    tree.file("bin/tool", intel);
    const auto apple = tree.file("bin/apple", intel);
    tree.file("bin/arm", test::thinMachO(test::cpuArm64));
    std::set<ScannerField> seen;
    const auto watching = scanner->subscribe([&](ScannerField field) { seen.insert(field); });
    scanner->startScan({tree.path()});
    EXPECT_TRUE(scanner->scanning());
    scanner->startScan({"/elsewhere"});
    EXPECT_EQ(scanner->lastRoots(), Paths{tree.path()});
    settle();

    EXPECT_FALSE(scanner->scanning());
    EXPECT_EQ(scanner->scannedCount(), 3);
    EXPECT_EQ(scanner->allHits().size(), 3U);
    EXPECT_EQ(scanner->groups().size(), 2U);
    for (const auto& group : scanner->groups()) {
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
    make();
    EXPECT_EQ(scanner->allHits().size(), 2U);
    EXPECT_EQ(scanner->lastRoots(), Paths{tree.path()});
    EXPECT_EQ(scanner->lastScanDate(), 99.5);
    EXPECT_TRUE(scanner->intelOnly());
    settle();
    EXPECT_EQ(inspected, Paths{b});
    const auto c = tree.file("c", intel);
    scan();
    EXPECT_EQ(inspected, (Paths{b, c}));
    EXPECT_EQ(roots().size(), 3U);
}

TEST_F(ScannerTest, StopsAtOnceAndStillTakesWhatWasFound) {
    for (int i = 0; i < 3000; ++i) tree.file("f" + std::to_string(i), intel);
    scanner->startScan({tree.path()});
    scanner->stop();
    EXPECT_FALSE(scanner->scanning());
    EXPECT_EQ(store->writes, 1);
    EXPECT_TRUE(scanner->walking());
    settle();
    EXPECT_EQ(scanner->lastScanDate(), 99.5);
    EXPECT_GE(store->writes, 2);
}

TEST_F(ScannerTest, DropsTheHandOversOfAnEarlierScan) {
    tree.file("old/a", intel);
    const auto fresh = tree.file("new/b", intel);
    scanner->startScan({tree.at("old")});
    scanner->stop();
    scanner->startScan({tree.at("new")});
    settle();
    EXPECT_EQ(roots(), Paths{fresh});
    EXPECT_EQ(scanner->scannedCount(), 1);
}

TEST_F(ScannerTest, MergesOverlappingSignaturePasses) {
    tree.file("a", intel);
    tree.file("b", test::thinMachO(test::cpuArm64));
    scanner->startScan({tree.path()});
    loop->runUntil([this] { return !scanner->walking(); });
    scanner->setIntelOnly(false);
    EXPECT_EQ(scanner->signaturePasses(), 2U);
    settle();
    EXPECT_EQ(scanner->signatures().size(), 2U);
    EXPECT_EQ(inspected.size(), 3U);
    scanner->setIntelOnly(true);
    EXPECT_EQ(scanner->signaturePasses(), 0U);
    EXPECT_EQ(roots(), Paths{tree.at("a")});
}

TEST_F(ScannerTest, KeepsPrunedHitsAwayWhileTheScanGoesOn) {
    for (int i = 0; i < 5000; ++i) tree.file("A.app/f" + std::to_string(i), intel);
    scanner->startScan({tree.path()});
    loop->runUntil([this] { return scanner->allHits().size() >= 2000; });
    const auto gone = scanner->allHits().front()->path;
    scanner->pruneHits(gone);
    scanner->regroup();
    settle();
    EXPECT_EQ(scanner->allHits().size(), 4999U);
    EXPECT_EQ(scanner->groups().begin()->legacyCount(), 4999U);
}

TEST_F(ScannerTest, MayBeDestroyedAtAnyMoment) {
    for (int i = 0; i < 2500; ++i)
        tree.file("d" + std::to_string(i % 50) + "/f" + std::to_string(i), intel);
    for (int round = 0; round < 8; ++round) {
        make();
        scanner->startScan({tree.path()});
        if (round % 2 == 1) loop->runUntil([this] { return scanner->scannedCount() > 0; });
        if (round >= 4) loop->runUntil([this] { return !scanner->walking(); });
        scanner.reset();
        openGate();
        loop->runPosted();
    }
    tasks.reset();
    loop->runPosted();
}

}  // namespace
}  // namespace vestigo
