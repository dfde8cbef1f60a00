#include "engine/walk_delivery.h"

namespace vestigo {
namespace {

constexpr std::int64_t progressEvery = 1000;
constexpr std::size_t hitsPerPartial = 2000;

}  // namespace

void WalkDelivery::deliver(ExaminedFiles&& run,
                           const std::function<std::string(std::size_t)>& pathOf) {
    const auto before = scannedCount_;
    const auto countUpTo = [&](std::int64_t count) {
        for (auto next = (scannedCount_ / progressEvery + 1) * progressEvery; next <= count;
             next += progressEvery) {
            listener_.progress(next, pathOf(static_cast<std::size_t>(next - before - 1)));
        }
        scannedCount_ = count;
    };
    for (auto& [position, hit] : run.hits) {
        countUpTo(before + position + 1);
        pending_.push_back(std::move(hit));
        if (pending_.size() == hitsPerPartial) {
            listener_.partial(std::exchange(pending_, {}), scannedCount_);
        }
    }
    countUpTo(before + run.examined);
}

void WalkDelivery::finish() {
    listener_.final(std::exchange(pending_, {}), scannedCount_);
}

}  // namespace vestigo
