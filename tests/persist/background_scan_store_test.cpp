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
class SlowStore : public ScanStore {
public:
    std::optional<ScanFile> readScanFile() override {
        if (dates.empty()) return std::nullopt;
        return datedRecord(dates.back());
    }
    void writeScanFile(const ScanFile& record) override {
        while (!open) std::this_thread::yield();
        dates.push_back(record.date);
    }

    std::atomic<bool> open = false;
    std::vector<double> dates;
};

TEST(BackgroundScanStore, WritesTheFirstAndTheLatestAndReadsWhatWasWritten) {
    const auto slow = std::make_shared<SlowStore>();
    const auto tasks = std::make_shared<ThreadTasks>();
    BackgroundScanStore store(slow, tasks);
    for (const double date : {1, 2, 3, 4}) store.writeScanFile(datedRecord(date));
    slow->open = true;
    EXPECT_EQ(store.readScanFile()->date, 4);
    EXPECT_LE(slow->dates.size(), 2U);
    store.writeScanFile(datedRecord(5));
    EXPECT_EQ(store.readScanFile()->date, 5);
}

TEST(BackgroundScanStore, FinishesItsWorkWhenTheProgramEnds) {
    const auto slow = std::make_shared<SlowStore>();
    {
        auto tasks = std::make_shared<ThreadTasks>();
        BackgroundScanStore(slow, tasks).writeScanFile(datedRecord(7));
        slow->open = true;
    }
    EXPECT_EQ(slow->dates, std::vector<double>{7});
}

}  // namespace
}  // namespace vestigo::test
