#include "persist/scan_cache.h"

#include <cmath>

#include "persist/preference_keys.h"
#include "platform/posix/posix_files.h"
#include "platform/posix/thread_tasks.h"
#include "tests/support/service_fakes.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

using namespace preference;

struct ScanCacheTest : testing::Test {
    test::TemporaryTree tree;
    PosixFiles files;
    ScanCache cache{std::make_shared<PosixFiles>(), {{}, tree.path(), {}}};
    std::string current = tree.at("Vestigo/last-scan.json");
};

TEST_F(ScanCacheTest, KeepsTheLastRecordThatCouldBeWritten) {
    EXPECT_FALSE(cache.readScanFile());
    const auto writeOf = [this](double mtime, double ctime) {
        cache.writeScanFile(test::savedScan({test::hitRef({"/a", {"i386"}, 1, mtime, ctime})}));
    };
    writeOf(1, 2);
    writeOf(std::nan(""), 2);
    writeOf(1, std::numeric_limits<double>::infinity());
    const auto read = cache.readScanFile();
    ASSERT_TRUE(read);
    EXPECT_EQ(*read->hits.at(0), (BinaryHit{"/a", {"i386"}, 1, 1, 2}));
    EXPECT_EQ(std::filesystem::status(current).permissions(), std::filesystem::perms{0600});
}

ScanFile datedRecord(double date) {
    ScanFile record;
    record.date = date;
    return record;
}

/// Takes its time over a record until it is let go.
struct SlowStore : ScanStore {
    std::optional<ScanFile> readScanFile() override { return datedRecord(dates.back()); }
    void writeScanFile(const ScanFile& record) override {
        ++begun;
        while (!open) std::this_thread::yield();
        dates.push_back(record.date);
    }

    std::atomic<int> begun = 0;
    std::atomic<bool> open = false;
    std::vector<double> dates;
};

TEST(BackgroundScanStore, WritesTheFirstAndTheLatestAndAlsoWhatIsLeftAtTheEnd) {
    const auto slow = std::make_shared<SlowStore>();
    auto tasks = std::make_shared<ThreadTasks>();
    auto store = std::make_optional<BackgroundScanStore>(slow, tasks);
    store->writeScanFile(datedRecord(1));
    while (slow->begun == 0) std::this_thread::yield();
    for (const double date : {2, 3, 4}) store->writeScanFile(datedRecord(date));
    slow->open = true;
    EXPECT_EQ(store->readScanFile()->date, 4);
    slow->open = false;
    store->writeScanFile(datedRecord(5));
    store.reset();
    slow->open = true;
    tasks.reset();
    EXPECT_EQ(slow->dates, (std::vector<double>{1, 4, 5}));
}

struct Migration : ScanCacheTest {
    Migration() { previous->setBoolean(acceptedDisclaimer, true); }
    void migrate() {
        const auto openPrevious = [this] {
            ++opened;
            return previous;
        };
        migrateFromPreviousProduct(own, openPrevious, cache);
    }

    test::MemoryPreferences own;
    std::shared_ptr<test::MemoryPreferences> previous = std::make_shared<test::MemoryPreferences>();
    int opened = 0;
    std::string old = tree.file("Tracemole/last-scan.json", "old");
};

TEST_F(Migration, TakesOverAcceptanceAndLastScanOnce) {
    migrate();
    EXPECT_TRUE(own.boolean(acceptedDisclaimer));
    EXPECT_EQ(files.read(current), "old");
    EXPECT_EQ(files.read(old), "old");
    own.values.erase(acceptedDisclaimer);
    files.remove(current);
    migrate();
    EXPECT_FALSE(own.contains(acceptedDisclaimer));
    EXPECT_FALSE(files.exists(current));
    EXPECT_EQ(opened, 1);
}

TEST_F(Migration, TakesOverNoRefusal) {
    previous->setBoolean(acceptedDisclaimer, false);
    migrate();
    EXPECT_FALSE(own.boolean(acceptedDisclaimer));
}

TEST_F(Migration, NeverOverwritesWhatIsThere) {
    own.setBoolean(acceptedDisclaimer, false);
    tree.file("Vestigo/last-scan.json", "current");
    migrate();
    EXPECT_FALSE(own.boolean(acceptedDisclaimer));
    EXPECT_EQ(files.read(current), "current");
}

}  // namespace
}  // namespace vestigo
