#include "engine/reader_governor.h"

#include <algorithm>
#include <thread>

namespace vestigo {
namespace {

// The system counts the time of threads that are running in ticks of some milliseconds.
constexpr auto sampleInterval = std::chrono::milliseconds(20);

// Of all processors. In between, things stay as they are.
constexpr double idle = 0.7;
constexpr double busy = 0.95;

}  // namespace

ReaderGovernor::ReaderGovernor(unsigned most)
    : processors_(std::max(1U, std::thread::hardware_concurrency())),
      most_(most),
      limit_(std::min(processors_, most)) {}

void ReaderGovernor::tick() {
    const auto now = Clock::now();
    if (now - sampledAt_ < sampleInterval) return;
    const auto processorNow = std::clock();
    sample(std::chrono::duration<double>(now - sampledAt_).count(),
           static_cast<double>(processorNow - processorAt_) / CLOCKS_PER_SEC);
    sampledAt_ = now;
    processorAt_ = processorNow;
}

void ReaderGovernor::sample(double wall, double processor) {
    const double used = processor / (wall * processors_);
    if (used < idle) limit_ = std::min(most_, limit_ * 2);
    if (used > busy) limit_ = std::max(std::min(processors_, most_), limit_ / 2);
}

}  // namespace vestigo
