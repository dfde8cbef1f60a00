// Sorts the rows of the results table.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "engine/records.h"

namespace vestigo {

/// The properties of a group that the table can be sorted by.
enum class SortKey : std::uint8_t {
    categoryName,
    cpuSummary,
    legacyCount,
    created,
    fixRank,
    name,
    root,
};

struct SortComparator {
    SortKey key = SortKey::categoryName;
    bool descending = false;
    bool operator==(const SortComparator&) const = default;
};

/// Sorts stably by the first comparator, then by the next. Strings are compared as bytes, which for
/// UTF-8 is the order of the characters' code points.
void sortRows(std::vector<const BundleGroup*>& rows, std::span<const SortComparator> order);

}  // namespace vestigo
