#include "engine/group_list.h"

#include <algorithm>
#include <utility>

namespace vestigo {
namespace {

std::size_t labelRank(Category category) {
    return static_cast<std::size_t>(std::ranges::count_if(
        allCategories, [category](Category other) { return other < category; }));
}

}  // namespace

BundleGroup& GroupList::add(BundleGroup group) {
    static const auto ranks = [] {
        std::array<std::size_t, shelfCount> result{};
        for (const auto category : allCategories) {
            result[static_cast<std::size_t>(category)] = labelRank(category);
        }
        return result;
    }();
    ++size_;
    return shelves_[ranks[static_cast<std::size_t>(group.category)]].emplace_back(std::move(group));
}

void GroupList::Iterator::skipEmpty() {
    while (shelf_ < shelfCount && index_ == (*list_)[shelf_].size()) {
        ++shelf_;
        index_ = 0;
    }
}

GroupList::Iterator& GroupList::Iterator::operator++() {
    ++index_;
    skipEmpty();
    return *this;
}

GroupList::Iterator GroupList::Iterator::operator++(int) {
    auto before = *this;
    ++*this;
    return before;
}

}  // namespace vestigo
