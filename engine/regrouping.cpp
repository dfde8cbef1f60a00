#include "engine/regrouping.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "engine/grouping.h"
#include "engine/scan_rules.h"
#include "platform/paths.h"

namespace vestigo {

BundleGroup& GroupList::add(BundleGroup group) {
    ++size_;
    return buckets_[labelRank(group.category)].emplace_back(std::move(group));
}

void GroupList::Iterator::skipEmpty() {
    while (bucket_ < bucketCount && index_ == (*list_)[bucket_].size()) {
        ++bucket_;
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

void Regrouping::restart(bool intelOnly) {
    intelOnly_ = intelOnly;
    groups_ = std::make_shared<GroupList>();
    latest_ = nullptr;
    std::destroy_at(&roots_);
    memory_->release();
    std::construct_at(&roots_, memory_.get());
    ownTexts_.clear();
}

void Regrouping::add(std::span<const HitRef> hits) {
    if (roots_.empty()) roots_.reserve(hits.size());
    for (const auto& hit : hits) {
        auto& root = rootOf(hit);
        if (!root.hasArm64 && holdsArm64(hit->archs)) noteArm64(root);
        if (!intelOnly_ || isLegacy(hit->archs)) list(root, hit);
    }
}

Regrouping::Root& Regrouping::rootOf(const HitRef& hit) {
    const std::string_view path = hit->path;
    if (latest_ && latest_->isBundle && liesUnder(path, latest_->text)) return *latest_;
    const auto length = bundleLength(path);
    auto text = path.substr(0, length.value_or(path.size()));
    // A bundle's root is joined from its components and may differ from the start of the path.
    const bool joined = length && (text.front() != '/' || text.find("//") != text.npos);
    if (joined) text = ownTexts_.emplace_back(groupRoot(path).root);
    const auto [place, isNew] = roots_.try_emplace(text);
    latest_ = &place->second;
    if (isNew) {
        latest_->text = text;
        latest_->keeper = hit;
        latest_->isBundle = length.has_value();
    } else if (joined) {
        ownTexts_.pop_back();
    }
    return *latest_;
}

void Regrouping::noteArm64(Root& root) {
    root.hasArm64 = true;
    if (!root.group) return;
    root.group->hasArm64 = true;
    root.group->fix = fixForPath(root.text, isApple(root.text), true);
}

void Regrouping::list(Root& root, const HitRef& hit) {
    if (!root.group) {
        root.group = &groups_->add({.root = std::string(root.text),
                                    .isBundle = root.isBundle,
                                    .category = categoryForPath(root.text),
                                    .hits = {},
                                    .fix = fixForPath(root.text, isApple(root.text), root.hasArm64),
                                    .hasArm64 = root.hasArm64});
    }
    root.group->hits.push_back(hit);
}

bool Regrouping::isApple(std::string_view root) const {
    const auto signature = signatures_->find(root);
    return signature != signatures_->end() && signature->second.isApple;
}

}  // namespace vestigo
