#include <sys/resource.h>

#include "platform/system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

TEST(BackgroundTasks, OfUtilityYieldToOthersWithTheThreadsTheyStart) {
    std::promise<int> promise;
    const auto tasks = systemTasks();
    tasks->run(Priority::utility, [&promise] {
        std::thread(atPriorityOfThisThread([&promise] {
            promise.set_value(getpriority(PRIO_PROCESS, 0));
        })).join();
    });
    EXPECT_GE(promise.get_future().get(), 10);
}

}  // namespace
}  // namespace vestigo
