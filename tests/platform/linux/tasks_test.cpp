#include <atomic>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "platform/posix/thread_tasks.h"

namespace vestigo {
namespace {

TEST(ThreadTasks, RunAtTheirPriority) {
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

}  // namespace
}  // namespace vestigo
