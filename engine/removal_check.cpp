// How the check of an item works.
//
// A check gathers facts and then decides by them with a pure function, so that every rule can be
// tested without a disk. The facts come from the same walk that scans use, over the item alone.
//
// The second check must be quick, because it blocks the main thread while the item waits to be
// moved. Therefore the first walk puts every file that it has read into a memory, Mach-O files
// included, and the second walk reports only files that are new or have changed. Facts are added up
// over the walks and never taken back: after a file with arm64 code has been deleted the facts
// still have it. So an outdated fact can only keep an item that might go, and never lets one go.
// As the reason for a refusal may be such a fact, a refusal drops the memory, and the next check
// starts over.
//
// A mutex in ItemCheck is held for the whole of a check: the check on the main thread then waits
// for one in the background and profits from what it has read. Everything in RemovalChecks is used
// on the main thread only; a job in the background holds its ItemCheck by a shared pointer.
#include "engine/removal_check.h"

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

/// Adds what a walk finds to the facts. It keeps none of the files, since a large item has many.
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

ItemCheck::ItemCheck(RemovalItem item, CheckServices services)
    : item_(std::move(item)), services_(std::move(services)) {
    facts_.place = item_.path;
}

std::optional<std::string> ItemCheck::refusal(const CancelFlag& cancelled) {
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
    // The reason may be gone by the next check, which must then start over to see that.
    if (why) memory_.reset();
    return why;
}

std::optional<ItemIdentity> ItemCheck::found() const {
    const std::lock_guard lock(mutex_);
    return facts_.identity;
}

std::string ItemCheck::place() const {
    const std::lock_guard lock(mutex_);
    return facts_.place;
}

void ItemCheck::startOver() {
    facts_ = {};
    facts_.place = item_.path;
    memory_.reset();
    signaturesRead_ = false;
}

void ItemCheck::gather(const CancelFlag& cancelled) {
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
    // A link is moved without its destination, so the destination does not matter.
    if (identity->kind == EntryKind::folder || identity->kind == EntryKind::file) {
        walkItem(cancelled);
    }
    if (signaturesRead_ && before.code == facts_.code) {
        facts_.appleRoot = before.appleRoot;
    } else {
        readSignatures(cancelled);
    }
}

/// With a memory the walk reports only files that are new or have changed since the last check.
void ItemCheck::walkItem(const CancelFlag& cancelled) {
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

void ItemCheck::readSignatures(const CancelFlag& cancelled) {
    signaturesRead_ = false;
    for (const auto& root : facts_.roots) {
        if (!services_.inspect || cancelled.cancelled()) return;
        if (!services_.inspect(root).isApple) continue;
        facts_.appleRoot = root;
        break;
    }
    signaturesRead_ = true;
}

RemovalChecks::RemovalChecks(CheckServices services, std::shared_ptr<MainQueue> main,
                             std::shared_ptr<BackgroundTasks> background)
    : services_(std::move(services)), main_(std::move(main)), background_(std::move(background)) {}

RemovalChecks::~RemovalChecks() {
    for (auto& [path, entry] : entries_) entry.cancelled.cancel();
}

void RemovalChecks::add(RemovalItem item) {
    const auto path = item.path;
    if (entries_.contains(path)) return;
    entries_[path].check = std::make_shared<ItemCheck>(std::move(item), services_);
    waiting_.push_back(path);
    startNext();
}

void RemovalChecks::drop(const std::string& path) {
    const auto found = entries_.find(path);
    if (found == entries_.end()) return;
    found->second.cancelled.cancel();
    entries_.erase(found);
    std::erase(waiting_, path);
}

void RemovalChecks::whenIdle(std::function<void()> idle) {
    idle_ = std::move(idle);
    if (!busy() && idle_) std::exchange(idle_, {})();
}

void RemovalChecks::startNext() {
    if (underWay_ || waiting_.empty()) return;
    underWay_ = true;
    const auto& entry = entries_.at(waiting_.front());
    waiting_.pop_front();
    background_->run(Priority::normal, [check = entry.check, cancelled = entry.cancelled,
                                        main = main_, owner = anchor_.ref()] {
        static_cast<void>(check->refusal(cancelled));
        main->post([owner] {
            if (auto* const checks = owner.get()) checks->checkEnded();
        });
    });
}

void RemovalChecks::checkEnded() {
    underWay_ = false;
    startNext();
    if (!busy() && idle_) std::exchange(idle_, {})();
}

std::shared_ptr<ItemCheck> RemovalChecks::find(const std::string& path) const {
    const auto found = entries_.find(path);
    return found == entries_.end() ? nullptr : found->second.check;
}

}  // namespace vestigo
