// The hits of the scan before, which a walk looks up by path to spare itself reading files again.
#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>
#include <vector>

#include "engine/records.h"
#include "platform/directory_reader.h"

namespace vestigo {

/// Thread-safe. It may be filled while a walk already uses it: a file that is not found is read,
/// which gives the same result.
class PreviousHits {
public:
    /// Fills it. To be called at most once. Of two hits with the same path the first counts.
    void provide(HitList hits);
    /// The hit with this path. Null when there is none, and until `provide` has ended.
    [[nodiscard]] const HitRef* find(std::string_view path) const;

private:
    [[nodiscard]] const HitRef* findIn(std::string_view path, std::uint64_t hash) const;

    HitList hits_;
    /// A hash table with open addressing and at least two slots for each hit. A slot holds the
    /// position of a hit, counted from 1, and in its upper half the upper half of its path's hash.
    /// A slot of 0 is free and ends a search.
    std::vector<std::uint64_t> slots_;
    std::atomic<bool> provided_ = false;  ///< Published last; the rest is constant from then on.
};

/// The previous hit for a file if it still holds; null if the file has to be read. If the system no
/// longer tells the creation date, the previous one is kept.
[[nodiscard]] HitRef reusable(const HitRef& previous, const FileAttributes& now);

}  // namespace vestigo
