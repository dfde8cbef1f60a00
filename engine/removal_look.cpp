#include "engine/removal_look.h"

#include <functional>
#include <new>
#include <string_view>
#include <utility>

#include "engine/grouping.h"
#include "engine/removal_guard.h"
#include "engine/scan_rules.h"
#include "engine/walk.h"
#include "platform/paths.h"

namespace vestigo {
namespace {

std::optional<std::string> refusalByCode(const RemovalItem& item, const ItemFacts& facts) {
    const bool isBundle = groupRoot(facts.place + "/file").isBundle;
    const bool anyKeeps = item.rule == CodeRule::noArm64 || (isBundle && facts.holdsLegacy);
    if (facts.holdsArm64 && anyKeeps) return leftInPlace(item.path, "also runs natively");
    if (!facts.arm64Bundle) return std::nullopt;
    return leftInPlace(item.path, *facts.arm64Bundle, "also runs natively");
}

/// Notes what a walk finds. A large item has many files, so none of them is kept.
class FactFinder : public WalkListener {
public:
    FactFinder(ItemFacts& facts, std::int64_t& files) : facts_(facts), files_(files) {}

    void progress(std::int64_t, const std::string&) override {}
    void partial(HitList added, std::int64_t count) override {
        for (const auto& hit : added) note(*hit);
        files_ = count;
    }
    void final(HitList added, std::int64_t count) override { partial(std::move(added), count); }

private:
    void note(const BinaryHit& hit) {
        facts_.code = facts_.code * 31 + std::hash<BinaryHit>()(hit);
        facts_.holdsLegacy = facts_.holdsLegacy || isLegacy(hit.archs);
        if (latestRoot_.empty() || !liesUnder(hit.path, latestRoot_)) {
            latestRoot_ = groupRoot(hit.path).root;
            facts_.roots.insert(latestRoot_);
        }
        if (holdsArm64(hit.archs)) noteArm64(hit.path);
    }
    void noteArm64(std::string_view file) {
        facts_.holdsArm64 = true;
        const auto below = file.substr(facts_.place.size());
        const auto length = facts_.arm64Bundle ? std::nullopt : bundleLength(below);
        if (length) facts_.arm64Bundle = file.substr(0, facts_.place.size() + *length);
    }

    ItemFacts& facts_;
    std::int64_t& files_;
    std::string latestRoot_;
};

}  // namespace

std::optional<std::string> refusal(const RemovalItem& item, const ItemFacts& facts) {
    if (!facts.identity) return std::nullopt;
    if (facts.identity != item.identity) {
        return leftInPlace(item.path, "is not the item that was shown");
    }
    if (facts.unread) {
        return leftInPlace(item.path,
                           "could not be looked into (" + quotedName(*facts.unread) + ")");
    }
    if (facts.appleRoot) {
        return *facts.appleRoot == facts.place
                   ? leftInPlace(item.path, "is signed by Apple")
                   : leftInPlace(item.path, *facts.appleRoot, "is signed by Apple");
    }
    return refusalByCode(item, facts);
}

ItemLook::ItemLook(RemovalItem item, LookServices services)
    : item_(std::move(item)), services_(std::move(services)) {
    facts_.place = item_.path;
}

std::optional<std::string> ItemLook::refusal(const CancelFlag& cancelled) {
    const std::lock_guard lock(mutex_);
    try {
        if (auto why = protectionOf(item_.path, *services_.files)) {
            startOver();
            return why;
        }
        gather(cancelled);
    } catch (const std::bad_alloc&) {
        startOver();
        return leftInPlace(item_.path, "could not be looked into for want of memory");
    }
    auto why = vestigo::refusal(item_, facts_);
    // What keeps the item may have gone by the next look.
    if (why) memory_.reset();
    return why;
}

std::optional<ItemIdentity> ItemLook::found() const {
    const std::lock_guard lock(mutex_);
    return facts_.identity;
}

std::string ItemLook::place() const {
    const std::lock_guard lock(mutex_);
    return facts_.place;
}

void ItemLook::startOver() {
    facts_ = {};
    facts_.place = item_.path;
    memory_.reset();
    signaturesRead_ = false;
}

void ItemLook::gather(const CancelFlag& cancelled) {
    auto identity = services_.files->identity(item_.path);
    auto place = realPlace(item_.path, *services_.files).value_or(item_.path);
    const auto before = facts_;
    if (!memory_ || identity != before.identity || place != before.place) {
        facts_ = {};
        memory_ = services_.makeMemory ? services_.makeMemory() : nullptr;
    }
    facts_.identity = identity;
    facts_.place = std::move(place);
    if (!identity) return;
    // A link goes without what it leads to.
    if (identity->kind == EntryKind::folder || identity->kind == EntryKind::file) {
        lookThrough(cancelled);
    }
    if (signaturesRead_ && before.code == facts_.code) {
        facts_.appleRoot = before.appleRoot;
    } else {
        readSignatures(cancelled);
    }
}

/// Where there is a memory, the facts come to hold for what the item has held since the first look
/// with it: more than it holds now keeps it in its place rather than less.
void ItemLook::lookThrough(const CancelFlag& cancelled) {
    FactFinder finder(facts_, files_);
    const WalkRequest request{.roots = {facts_.place},
                              .threads = files_ < manyFiles ? 1U : 0U,
                              .rootsAreNamed = true,
                              .memory = memory_.get(),
                              .remembersHits = true};
    facts_.unread = walk(*services_.reader, request, cancelled, finder).unread;
    try {
        if (memory_) memory_->finish();
    } catch (const std::bad_alloc&) {
        memory_.reset();
    }
}

void ItemLook::readSignatures(const CancelFlag& cancelled) {
    signaturesRead_ = false;
    for (const auto& root : facts_.roots) {
        if (!services_.inspect || cancelled.cancelled()) return;
        if (!services_.inspect(root).isApple) continue;
        facts_.appleRoot = root;
        break;
    }
    signaturesRead_ = true;
}

RemovalLooks::RemovalLooks(LookServices services, std::shared_ptr<MainQueue> main,
                           std::shared_ptr<BackgroundTasks> background)
    : services_(std::move(services)), main_(std::move(main)), background_(std::move(background)) {}

RemovalLooks::~RemovalLooks() {
    for (auto& [path, entry] : entries_) entry.cancelled.cancel();
}

void RemovalLooks::add(RemovalItem item) {
    const auto path = item.path;
    if (entries_.contains(path)) return;
    entries_[path].look = std::make_shared<ItemLook>(std::move(item), services_);
    waiting_.push_back(path);
    startNext();
}

void RemovalLooks::drop(const std::string& path) {
    const auto found = entries_.find(path);
    if (found == entries_.end()) return;
    found->second.cancelled.cancel();
    entries_.erase(found);
    std::erase(waiting_, path);
}

void RemovalLooks::whenIdle(std::function<void()> idle) {
    idle_ = std::move(idle);
    if (!busy() && idle_) std::exchange(idle_, {})();
}

void RemovalLooks::startNext() {
    if (underWay_ || waiting_.empty()) return;
    underWay_ = true;
    const auto& entry = entries_.at(waiting_.front());
    waiting_.pop_front();
    background_->run(Priority::normal, [look = entry.look, cancelled = entry.cancelled,
                                        main = main_, owner = anchor_.ref()] {
        static_cast<void>(look->refusal(cancelled));
        main->post([owner] {
            if (auto* const looks = owner.get()) looks->lookEnded();
        });
    });
}

void RemovalLooks::lookEnded() {
    underWay_ = false;
    startNext();
    if (!busy() && idle_) std::exchange(idle_, {})();
}

std::shared_ptr<ItemLook> RemovalLooks::find(const std::string& path) const {
    const auto found = entries_.find(path);
    return found == entries_.end() ? nullptr : found->second.look;
}

}  // namespace vestigo
