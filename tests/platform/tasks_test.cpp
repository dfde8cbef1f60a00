#include <atomic>
#include <memory>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "platform/posix/thread_tasks.h"
#include "platform/run_loop.h"

namespace vestigo {
namespace {

TEST(RunLoop, RunsJobsInOrderAndThoseTheyPost) {
    RunLoop loop;
    std::vector<int> order;
    loop.post([&] {
        order.push_back(1);
        loop.post([&] { order.push_back(3); });
    });
    loop.post([&] { order.push_back(2); });
    loop.runUntil([&] { return order.size() == 3; });
    EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST(ThreadTasks, RunAtTheirPriorityAndAreWaitedFor) {
    std::atomic<int> utility = -99;
    std::atomic<int> normal = -99;
    const int own = getpriority(PRIO_PROCESS, 0);
    {
        ThreadTasks tasks;
        tasks.run(Priority::utility, [&] { utility = getpriority(PRIO_PROCESS, 0); });
        tasks.run(Priority::normal, [&] { normal = getpriority(PRIO_PROCESS, 0); });
    }
    EXPECT_EQ(normal, own);
    EXPECT_GT(utility, own);
    EXPECT_EQ(getpriority(PRIO_PROCESS, 0), own);
}

TEST(ThreadTasks, LetGoOfWhatAJobOwnedBeforeTheyCountAsDone) {
    const auto owned = std::make_shared<int>(1);
    {
        ThreadTasks tasks;
        tasks.run(Priority::normal, [owned] {});
    }
    EXPECT_EQ(owned.use_count(), 1);
}

}  // namespace
}  // namespace vestigo
