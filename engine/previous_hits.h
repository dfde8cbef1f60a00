// The hits of the scan before, by path, from the moment when they are known.
#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>
#include <vector>

#include "engine/records.h"
#include "platform/directory_reader.h"

namespace vestigo {

/// Thread-safe. Filled while a walk already looks into it: a file that is not found is read, and
/// the result is the same.
class PreviousHits {
public:
    /// To be called once at most. Of two hits with one path the first counts.
    void provide(HitList hits);
    /// Null for a file that is not among them, and as long as they are not there.
    [[nodiscard]] const HitRef* find(std::string_view path) const;

private:
    [[nodiscard]] const HitRef* findIn(std::string_view path, std::uint64_t hash) const;

    HitList hits_;
    /// A table of twice as many slots at least. In each the position of a hit, counted from 1, and
    /// above it the upper half of its path's hash. 0: free, and the end of a search.
    std::vector<std::uint64_t> slots_;
    std::atomic<bool> areThere_ = false;
};

/// The previous answer for a file, where it still holds; null where the file has to be read. A
/// creation date that the system does not tell any more is kept.
[[nodiscard]] HitRef reusable(const HitRef& previous, const FileAttributes& now);

}  // namespace vestigo
