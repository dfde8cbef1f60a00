// How groups grow while hits arrive.
//
// A window shows the groups while a scan streams in, so rebuilding them for each portion of hits
// would cost time that grows with the square of their number. Each hit is instead added to its
// group once.
//
// Two facts of a group may change after it has been listed. It gets more hits; and a later file may
// turn out to hold arm64 code, which changes the remedy of the group even if that file is not
// listed itself. So a `Root` is kept for every root, listed or not, and `noteArm64` corrects a
// group that is there already. Nothing else depends on later hits, which is why the result is the
// same as that of adding all hits at once. Signatures may change it too; then the owner
// calls `restart`.
//
// There may be hundreds of thousands of roots. Hence the savings: the text of a root is nearly
// always a view into the path of its first hit; the nodes of the map lie in one arena; and since
// the files of a bundle arrive in a row, most hits are compared with the latest root only.
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
    joinedTexts_.clear();
}

void Regrouping::add(std::span<const HitRef> hits) {
    if (roots_.empty()) roots_.reserve(hits.size());
    for (const auto& hit : hits) {
        auto& root = rootOf(hit);
        if (!root.hasArm64 && holdsArm64(hit->archs)) noteArm64(root);
        if (!intelOnly_ || isLegacy(hit->archs)) addToGroup(root, hit);
    }
}

Regrouping::Root& Regrouping::rootOf(const HitRef& hit) {
    const std::string_view path = hit->path;
    if (latest_ && latest_->isBundle && liesUnder(path, latest_->text)) return *latest_;
    const auto length = bundleLength(path);
    auto text = path.substr(0, length.value_or(path.size()));
    // The root of a bundle has no empty components. Only if the path has some, its root is no part
    // of it and needs a text of its own.
    const bool joined = length && (text.front() != '/' || text.find("//") != text.npos);
    if (joined) text = joinedTexts_.emplace_back(groupRoot(path).root);
    const auto [place, isNew] = roots_.try_emplace(text);
    latest_ = &place->second;
    if (isNew) {
        latest_->text = text;
        latest_->textOwner = hit;
        latest_->isBundle = length.has_value();
    } else if (joined) {
        joinedTexts_.pop_back();
    }
    return *latest_;
}

void Regrouping::noteArm64(Root& root) {
    root.hasArm64 = true;
    if (!root.group) return;
    root.group->hasArm64 = true;
    root.group->fix = fixForPath(root.text, isApple(root.text), true);
}

void Regrouping::addToGroup(Root& root, const HitRef& hit) {
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
