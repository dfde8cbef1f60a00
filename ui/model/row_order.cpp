// A table of a hundred thousand rows is sorted at each click on a header and several times a second
// while a scan runs. Most of the time of a plain sort goes into following a pointer to a group and
// on to its text. So each comparator first computes one number for each row (`Keys`). The
// numbers lie side by side in memory, and mostly only they are compared. A text becomes the number
// of its first six bytes behind the prefix that all texts share ("/Applications/"); the text itself
// is compared only when two numbers are equal. The sort moves indexes; the rows themselves move
// once, at the end.
#include "ui/model/row_order.h"

#include <algorithm>
#include <compare>
#include <cstddef>
#include <numeric>
#include <string>
#include <string_view>
#include <unordered_map>

namespace vestigo {
namespace {

using Rows = std::vector<const BundleGroup*>;

/// The sort keys of all rows for one comparator. Numbers are compared first, then texts.
struct Keys {
    std::vector<double> numbers;
    std::vector<std::string_view> texts;  ///< Empty when equal numbers mean equal keys.
    bool descending = false;

    [[nodiscard]] int compare(std::size_t a, std::size_t b) const {
        int result = numbers[a] < numbers[b] ? -1 : int{numbers[b] < numbers[a]};
        if (result == 0 && !texts.empty()) result = texts[a].compare(texts[b]);
        return descending ? -result : result;
    }
};

/// Returns the first bytes as a number that sorts as they do. A double holds six bytes exactly.
double leadingBytes(std::string_view text) {
    constexpr std::size_t bytes = 6;
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
        number = number << 8U | (i < text.size() ? static_cast<unsigned char>(text[i]) : 0U);
    }
    return static_cast<double>(number);
}

std::size_t commonPrefixLength(const std::vector<std::string_view>& texts) {
    auto prefix = texts.empty() ? std::string_view() : texts.front();
    for (const auto text : texts) {
        const auto [end, unused] = std::ranges::mismatch(prefix, text);
        prefix = prefix.substr(0, static_cast<std::size_t>(end - prefix.begin()));
    }
    return prefix.size();
}

template <class Number>
Keys numberKeys(const Rows& rows, Number number) {
    Keys keys;
    keys.numbers.reserve(rows.size());
    for (const auto* const row : rows) keys.numbers.push_back(static_cast<double>(number(*row)));
    return keys;
}

template <class Text>
Keys textKeys(const Rows& rows, Text text) {
    Keys keys;
    keys.texts.reserve(rows.size());
    for (const auto* const row : rows) keys.texts.push_back(text(*row));
    const auto shared = commonPrefixLength(keys.texts);
    keys.numbers.reserve(rows.size());
    for (const auto each : keys.texts) keys.numbers.push_back(leadingBytes(each.substr(shared)));
    return keys;
}

/// Summaries are made anew for each call but take few values, so each is replaced by its rank.
Keys summaryKeys(const Rows& rows) {
    std::unordered_map<std::string, std::size_t> numbers;
    std::vector<std::size_t> numberOfRow;
    numberOfRow.reserve(rows.size());
    for (const auto* const row : rows) {
        numberOfRow.push_back(numbers.try_emplace(row->cpuSummary(), numbers.size()).first->second);
    }
    std::vector<std::pair<std::string_view, std::size_t>> sorted(numbers.begin(), numbers.end());
    std::ranges::sort(sorted);
    std::vector<double> ranks(sorted.size());
    for (std::size_t rank = 0; rank < sorted.size(); ++rank) {
        ranks[sorted[rank].second] = static_cast<double>(rank);
    }
    Keys keys;
    keys.numbers.reserve(rows.size());
    for (const auto number : numberOfRow) keys.numbers.push_back(ranks[number]);
    return keys;
}

Keys categoryKeys(const Rows& rows) {
    return numberKeys(rows, [](const BundleGroup& row) { return labelRank(row.category); });
}

Keys keysOf(const Rows& rows, SortKey key) {
    switch (key) {
        case SortKey::categoryName: return categoryKeys(rows);
        case SortKey::cpuSummary: return summaryKeys(rows);
        case SortKey::legacyCount:
            return numberKeys(rows, [](const BundleGroup& row) { return row.legacyCount(); });
        case SortKey::created:
            return numberKeys(rows, [](const BundleGroup& row) { return row.created(); });
        case SortKey::fixRank:
            return numberKeys(rows, [](const BundleGroup& row) { return row.fixRank(); });
        case SortKey::name:
            return textKeys(rows, [](const BundleGroup& row) { return row.name(); });
        case SortKey::root:
            return textKeys(rows,
                            [](const BundleGroup& row) { return std::string_view(row.root); });
    }
    return {};
}

}  // namespace

void sortRows(Rows& rows, std::span<const SortComparator> order) {
    std::vector<Keys> comparators;
    for (const auto& [key, descending] : order) {
        comparators.push_back(keysOf(rows, key));
        comparators.back().descending = descending;
    }
    const auto before = [&comparators](std::uint32_t a, std::uint32_t b) {
        for (const auto& keys : comparators) {
            if (const int result = keys.compare(a, b)) return result < 0;
        }
        return false;
    };
    std::vector<std::uint32_t> places(rows.size());
    std::iota(places.begin(), places.end(), 0U);
    // The Scanner delivers groups in the default order, so mostly there is nothing to do.
    if (std::ranges::is_sorted(places, before)) return;
    std::ranges::stable_sort(places, before);
    Rows sorted;
    sorted.reserve(rows.size());
    for (const auto place : places) sorted.push_back(rows[place]);
    rows = std::move(sorted);
}

}  // namespace vestigo
