#include "engine/regrouping.h"

#include <utility>

#include "engine/scan_rules.h"

namespace vestigo {

void Regrouping::restart(bool intelOnly) {
    intelOnly_ = intelOnly;
    groups_ = {};
    roots_.clear();
    rootTexts_.clear();
    latest_ = nullptr;
}

void Regrouping::add(std::span<const HitRef> hits) {
    for (const auto& hit : hits) {
        auto& root = rootOf(*hit);
        if (!root.hasArm64 && holdsArm64(hit->archs)) noteArm64(root);
        if (!intelOnly_ || isLegacy(hit->archs)) list(root, hit);
    }
}

Regrouping::Root& Regrouping::rootOf(const BinaryHit& hit) {
    if (latest_ && latest_->isBundle && liesUnder(hit.path, latest_->text)) return *latest_;
    const auto length = bundleLength(hit.path);
    const auto text = std::string_view(hit.path).substr(0, length.value_or(hit.path.size()));
    const auto known = roots_.find(text);
    latest_ = known != roots_.end() ? &known->second : &newRoot(groupRoot(hit.path));
    return *latest_;
}

// The text of a path with empty components differs from its root's, and is looked up again.
Regrouping::Root& Regrouping::newRoot(GroupRoot found) {
    const auto known = roots_.find(found.root);
    if (known != roots_.end()) return known->second;
    const std::string_view text = rootTexts_.emplace_back(std::move(found.root));
    const auto signature = signatures_->find(rootTexts_.back());
    auto& root = roots_[text];
    root.text = text;
    root.isBundle = found.isBundle;
    root.isApple = signature != signatures_->end() && signature->second.isApple;
    return root;
}

void Regrouping::noteArm64(Root& root) {
    root.hasArm64 = true;
    if (!root.group) return;
    root.group->hasArm64 = true;
    root.group->fix = fixForPath(root.text, root.isApple, true);
}

void Regrouping::list(Root& root, const HitRef& hit) {
    if (!root.group) {
        root.group = &groups_.add({.root = std::string(root.text),
                                   .isBundle = root.isBundle,
                                   .category = categoryForPath(root.text),
                                   .hits = {},
                                   .fix = fixForPath(root.text, root.isApple, root.hasArm64),
                                   .hasArm64 = root.hasArm64});
    }
    root.group->hits.push_back(hit);
}

}  // namespace vestigo
