#include "persist/scan_cache.h"

#include "persist/preference_keys.h"
#include "platform/posix/posix_files.h"
#include "tests/support/service_fakes.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

using namespace preference;

struct ScanCacheTest : testing::Test {
    void migrate() {
        migrateFromPreviousProduct(
            own, [this] { return ++opened, previous; }, cache);
    }

    test::TemporaryTree tree;
    PosixFiles files;
    ScanCache cache{std::make_shared<PosixFiles>(), {{}, tree.path(), {}}};
    std::string current = tree.at("Vestigo/last-scan.json");
    test::MemoryPreferences own;
    std::shared_ptr<test::MemoryPreferences> previous = std::make_shared<test::MemoryPreferences>();
    int opened = 0;
};

TEST_F(ScanCacheTest, KeepsTheLastRecordThatCouldBeWritten) {
    EXPECT_FALSE(cache.readScanFile());
    constexpr auto infinity = std::numeric_limits<double>::infinity();
    for (const auto& [mtime, ctime] : {std::pair{1.0, 2.0}, {infinity, 2.0}, {1.0, -infinity}}) {
        cache.writeScanFile(test::savedScan({test::hitRef({"/a", {"i386"}, 1, mtime, ctime})}));
    }
    EXPECT_EQ(*cache.readScanFile().value().hits.at(0), (BinaryHit{"/a", {"i386"}, 1, 1, 2}));
    EXPECT_EQ(std::filesystem::status(current).permissions(), std::filesystem::perms{0600});
}

TEST_F(ScanCacheTest, TakesOverOnceWhatTheFormerProductHasAndThisOneLacks) {
    previous->setBoolean(acceptedDisclaimer, true);
    const auto old = tree.file("Tracemole/last-scan.json", "old");
    migrate();
    EXPECT_TRUE(own.boolean(acceptedDisclaimer));
    for (const auto& each : {current, old}) EXPECT_EQ(files.read(each), "old");
    own.values.erase(acceptedDisclaimer);
    files.remove(current);
    migrate();
    EXPECT_FALSE(own.contains(acceptedDisclaimer));
    EXPECT_FALSE(files.exists(current));
    EXPECT_EQ(opened, 1);
    // As at the first start, with choices and a scan of its own.
    own.values = {{acceptedDisclaimer, 0}};
    tree.file("Vestigo/last-scan.json", "current");
    migrate();
    EXPECT_FALSE(own.boolean(acceptedDisclaimer));
    EXPECT_EQ(files.read(current), "current");
    // A refusal is none to take over.
    own.values.clear();
    previous->setBoolean(acceptedDisclaimer, false);
    migrate();
    EXPECT_FALSE(own.boolean(acceptedDisclaimer));
}

/// Something may happen while it writes.
struct BusyStore : ScanStore {
    std::optional<ScanFile> readScanFile() override {
        auto record = test::savedScan();
        record.date = dates.back();
        return record;
    }
    void writeScanFile(const ScanFile& record) override {
        if (meanwhile) std::exchange(meanwhile, {})();
        dates.push_back(record.date);
    }

    std::function<void()> meanwhile;
    std::vector<double> dates;
};

TEST(BackgroundScanStore, WritesTheFirstAndTheLatestAndAlsoWhatIsLeftAtTheEnd) {
    const auto busy = std::make_shared<BusyStore>();
    const auto tasks = std::make_shared<test::HeldTasks>();
    auto store = std::make_optional<BackgroundScanStore>(busy, tasks);
    const auto save = [&store](double date) {
        auto record = test::savedScan();
        record.date = date;
        store->writeScanFile(record);
    };
    std::future<std::optional<ScanFile>> read;
    busy->meanwhile = [&] {
        for (const double date : {2, 3, 4}) save(date);
        read = std::async(std::launch::async, [&store] { return store->readScanFile(); });
        EXPECT_EQ(read.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    };
    busy->dates = {0};
    save(1);
    tasks->runHeld();
    EXPECT_TRUE(tasks->jobs.empty());
    EXPECT_EQ(read.get()->date, 4);
    save(5);
    store.reset();
    tasks->runHeld();
    EXPECT_EQ(busy->dates, (std::vector<double>{0, 1, 4, 5}));
}

}  // namespace
}  // namespace vestigo
