#include "engine/reader_governor.h"

#include <thread>

#include <gtest/gtest.h>

namespace vestigo {
namespace {

TEST(ReaderGovernor, AddsReadersWhileProcessorsIdleAndTakesThemBack) {
    const unsigned processors = std::max(1U, std::thread::hardware_concurrency());
    ReaderGovernor governor(16 * processors);
    EXPECT_EQ(governor.limit(), processors);
    for (int i = 0; i < 10; ++i) governor.sample(1, 0.1);
    EXPECT_EQ(governor.limit(), 16 * processors);
    governor.sample(1, 0.8 * processors);
    EXPECT_EQ(governor.limit(), 16 * processors);
    for (int i = 0; i < 10; ++i) governor.sample(1, processors);
    EXPECT_EQ(governor.limit(), processors);
    ReaderGovernor single(1);
    single.sample(1, 0);
    EXPECT_EQ(single.limit(), 1U);
    single.sample(1, processors);
    EXPECT_EQ(single.limit(), 1U);
}

}  // namespace
}  // namespace vestigo
