#include "engine/removal_look.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "engine/grouping.h"
#include "engine/removal_guard.h"
#include "engine/walk.h"

namespace vestigo {
namespace {

bool holdsLegacy(const HitList& hits) {
    return std::ranges::any_of(hits, [](const HitRef& hit) { return isLegacy(hit->archs); });
}

/// The outermost bundle that lies in the place and holds the file; absent when there is none.
std::optional<std::string> bundleWithin(const std::string& place, const std::string& file) {
    const auto below = std::string_view(file).substr(place.size());
    const auto length = bundleLength(below);
    if (!length) return std::nullopt;
    return place + std::string(below.substr(0, *length));
}

std::optional<std::string> refusalByCode(const RemovalItem& item, const ItemFacts& facts) {
    const bool isBundle = groupRoot(facts.place + "/file").isBundle;
    const bool anyKeeps = item.rule == CodeRule::noArm64 || (isBundle && holdsLegacy(facts.hits));
    for (const auto& hit : facts.hits) {
        if (!holdsArm64(hit->archs)) continue;
        if (anyKeeps) return leftInPlace(item.path, "also runs natively");
        if (const auto bundle = bundleWithin(facts.place, hit->path)) {
            return leftInPlace(item.path, *bundle, "also runs natively");
        }
    }
    return std::nullopt;
}

/// Collects what a walk finds.
class Hits : public WalkListener {
public:
    Hits(HitList& hits, std::int64_t& files) : hits_(hits), files_(files) {}
    void progress(std::int64_t, const std::string&) override {}
    void partial(HitList added, std::int64_t count) override {
        hits_.insert(hits_.end(), added.begin(), added.end());
        files_ = count;
    }
    void final(HitList added, std::int64_t count) override { partial(std::move(added), count); }

private:
    HitList& hits_;
    std::int64_t& files_;
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
    if (auto why = protectionOf(item_.path, *services_.files)) return why;
    try {
        gather(cancelled);
    } catch (const std::bad_alloc&) {
        facts_.hits = {};
        signaturesRead_ = false;
        return leftInPlace(item_.path, "could not be looked into for want of memory");
    }
    return vestigo::refusal(item_, facts_);
}

std::string ItemLook::place() const {
    const std::lock_guard lock(mutex_);
    return facts_.place;
}

void ItemLook::gather(const CancelFlag& cancelled) {
    facts_.unread.reset();
    facts_.identity = services_.files->identity(item_.path);
    facts_.place = realPlace(item_.path, *services_.files).value_or(item_.path);
    if (!facts_.identity) return;
    const auto before = std::exchange(facts_.hits, {});
    // A link goes without what it leads to.
    const auto kind = facts_.identity->kind;
    if (kind == ItemKind::folder || kind == ItemKind::file) {
        Hits hits(facts_.hits, files_);
        const WalkRequest request{.roots = {facts_.place},
                                  .threads = files_ < manyFiles ? 1U : 0U,
                                  .rootsAreNamed = true};
        facts_.unread = walk(*services_.reader, request, cancelled, hits).unread;
    }
    if (!signaturesRead_ || !sameHits(before, facts_.hits)) readSignatures(cancelled);
}

void ItemLook::readSignatures(const CancelFlag& cancelled) {
    facts_.appleRoot.reset();
    signaturesRead_ = false;
    std::unordered_set<std::string> roots;
    for (const auto& hit : facts_.hits) {
        if (!services_.inspect || cancelled.cancelled()) return;
        auto root = groupRoot(hit->path).root;
        if (!roots.insert(root).second || !services_.inspect(root).isApple) continue;
        facts_.appleRoot = std::move(root);
        break;
    }
    signaturesRead_ = true;
}

/// How the end of a background look reaches its owner. Only the main thread looks inside.
struct RemovalLooks::Handle {
    RemovalLooks* looks;
};

RemovalLooks::RemovalLooks(LookServices services, std::shared_ptr<MainQueue> main,
                           std::shared_ptr<BackgroundTasks> background)
    : services_(std::move(services)),
      main_(std::move(main)),
      background_(std::move(background)),
      handle_(std::make_shared<Handle>(Handle{this})) {}

RemovalLooks::~RemovalLooks() {
    handle_->looks = nullptr;
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
                                        main = main_, handle = handle_] {
        static_cast<void>(look->refusal(cancelled));
        main->post([handle] {
            if (handle->looks) handle->looks->lookEnded();
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
