// The groups of a scan in their published order.
#pragma once

#include <array>
#include <cstddef>
#include <deque>
#include <iterator>

#include "engine/records.h"

namespace vestigo {

/// Groups ordered by category (by label); within a category in the order they were added. Roots are
/// unique. Adding never moves a group, so a reference stays good while the list lives.
class GroupList {
    using Shelf = std::deque<BundleGroup>;
    static constexpr std::size_t shelfCount = std::size(allCategories);

public:
    class Iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = BundleGroup;
        using difference_type = std::ptrdiff_t;
        using pointer = const BundleGroup*;
        using reference = const BundleGroup&;

        Iterator() = default;
        reference operator*() const { return (*list_)[shelf_][index_]; }
        pointer operator->() const { return &**this; }
        Iterator& operator++();
        Iterator operator++(int);
        bool operator==(const Iterator&) const = default;

    private:
        friend class GroupList;
        using Shelves = std::array<Shelf, shelfCount>;
        Iterator(const Shelves* list, std::size_t shelf) : list_(list), shelf_(shelf) {
            skipEmpty();
        }
        void skipEmpty();

        const Shelves* list_ = nullptr;
        std::size_t shelf_ = 0;
        std::size_t index_ = 0;
    };

    /// The new group, at the end of its category.
    BundleGroup& add(BundleGroup group);

    [[nodiscard]] Iterator begin() const { return {&shelves_, 0}; }
    [[nodiscard]] Iterator end() const { return {&shelves_, shelfCount}; }
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] bool empty() const { return size_ == 0; }
    bool operator==(const GroupList&) const = default;

private:
    std::array<Shelf, shelfCount> shelves_;  ///< By rank of the category's label.
    std::size_t size_ = 0;
};

}  // namespace vestigo
