// How many threads of a walk should be at work at a time.
#pragma once

#include <chrono>
#include <ctime>

namespace vestigo {

/// With a warm file cache, more readers than processors only get in each other's way. With a cold
/// one they wait for the disk, which answers many at once far sooner than one after the other. The
/// two are told apart by whether the processors have anything to do. Used by one thread at a time.
class ReaderGovernor {
public:
    /// Never more than `most`, and at first no more than there are processors.
    explicit ReaderGovernor(unsigned most);

    [[nodiscard]] unsigned limit() const { return limit_; }
    /// To be called often: now and then it looks at the clocks and may change the limit.
    void tick();
    /// Takes in that this process used `processor` seconds of its processors in `wall` seconds.
    void sample(double wall, double processor);

private:
    using Clock = std::chrono::steady_clock;

    unsigned processors_;
    unsigned most_;
    unsigned limit_;
    Clock::time_point sampledAt_ = Clock::now();
    std::clock_t processorAt_ = std::clock();
};

}  // namespace vestigo
