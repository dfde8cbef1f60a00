// The walk's results on their way out, in order.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "engine/walk.h"

namespace vestigo {

/// What became of a run of candidates.
struct ExaminedFiles {
    std::uint32_t examined = 0;  ///< How many of the run were looked at.
    /// Hits with their position in the run, ascending.
    std::vector<std::pair<std::uint32_t, HitRef>> hits;
};

/// Counts candidates and cuts the hits into hand-overs. Used by one thread at a time.
class WalkDelivery {
public:
    explicit WalkDelivery(WalkListener& listener) : listener_(listener) {}

    /// The next run in order. `pathOf` gives the path of the candidate at a position of the run.
    void deliver(ExaminedFiles&& run, const std::function<std::string(std::size_t)>& pathOf);
    /// Hands over what is left.
    void finish();

private:
    WalkListener& listener_;
    std::int64_t scannedCount_ = 0;
    HitList pending_;
};

}  // namespace vestigo
