#include "engine/group_list.h"

#include <algorithm>
#include <utility>

namespace vestigo {
BundleGroup& GroupList::add(BundleGroup group) {
    ++size_;
    return shelves_[labelRank(group.category)].emplace_back(std::move(group));
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
