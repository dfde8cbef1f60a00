#include "persist/background_scan_store.h"

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/posix/thread_tasks.h"

namespace vestigo::test {
namespace {

ScanFile datedRecord(double date) {
    ScanFile record;
    record.date = date;
    return record;
}

/// Takes its time over the first record.
struct SlowStore : ScanStore {
    std::optional<ScanFile> readScanFile() override { return datedRecord(dates.back()); }
    void writeScanFile(const ScanFile& record) override {
        while (!open) std::this_thread::yield();
        dates.push_back(record.date);
    }

    std::atomic<bool> open = false;
    std::vector<double> dates;
};

TEST(BackgroundScanStore, WritesTheFirstAndTheLatestAndAlsoWhatIsLeftAtTheEnd) {
    const auto slow = std::make_shared<SlowStore>();
    auto tasks = std::make_shared<ThreadTasks>();
    auto store = std::make_optional<BackgroundScanStore>(slow, tasks);
    for (const double date : {1, 2, 3, 4}) store->writeScanFile(datedRecord(date));
    slow->open = true;
    EXPECT_EQ(store->readScanFile()->date, 4);
    EXPECT_LE(slow->dates.size(), 2U);
    slow->open = false;
    store->writeScanFile(datedRecord(5));
    store.reset();
    slow->open = true;
    tasks.reset();
    EXPECT_EQ(slow->dates.back(), 5);
}

}  // namespace
}  // namespace vestigo::test
