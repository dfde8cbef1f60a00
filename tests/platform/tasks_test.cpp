#include <new>

#include "platform/system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

TEST(BackgroundTasks, RunBesideTheirCallerAndEachOtherAndAreWaitedFor) {
    std::atomic<int> ended = 0;
    std::promise<void> go;
    const auto told = go.get_future().share();
    constexpr std::chrono::milliseconds moment(20);
    std::atomic<bool> hasGone = false;
    // What a job owns goes before the job counts as done.
    std::shared_ptr<void> owned(nullptr, [&](void*) {
        std::this_thread::sleep_for(moment);
        hasGone = true;
    });
    {
        const auto tasks = systemTasks();
        for (const auto priority : {Priority::utility, Priority::normal, Priority::utility}) {
            tasks->run(priority, [&ended, told, moment, owned = std::exchange(owned, {})] {
                told.wait();
                std::this_thread::sleep_for(moment);
                ++ended;
            });
        }
        tasks->run(Priority::normal, [&go] { go.set_value(); });
    }
    EXPECT_EQ(ended, 3);
    EXPECT_TRUE(hasGone);
}

TEST(BackgroundTasks, SayWhenOneRanOutOfMemoryAndGoOn) {
    std::atomic<int> failures = 0;
    std::atomic<int> ended = 0;
    {
        const auto tasks = systemTasks([&failures] { ++failures; });
        tasks->run(Priority::normal, [] { throw std::bad_alloc(); });
        tasks->run(Priority::normal, [&ended] { ++ended; });
    }
    EXPECT_EQ(failures, 1);
    EXPECT_EQ(ended, 1);
}

}  // namespace
}  // namespace vestigo
