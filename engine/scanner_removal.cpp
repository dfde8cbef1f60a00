// The removals: what goes, what stays, and what the findings lose by it.
#include <algorithm>
#include <utility>
#include <vector>

#include "engine/removal_guard.h"
#include "engine/scanner.h"
#include "platform/paths.h"

namespace vestigo {
namespace {

/// The groups that the findings say to keep, found by the folders they lie in: also those in places
/// that no walk enters. A universal file that lies in no bundle keeps nothing in its place.
class KeptGroups {
public:
    KeptGroups(const GroupList& groups, const SignatureMap& signatures) {
        for (const auto& group : groups) {
            if (group.fix == Fix::keep && group.isBundle) {
                kept_.push_back({group.root, "also runs natively"});
            }
        }
        for (const auto& [root, signature] : signatures) {
            if (signature.isApple) kept_.push_back({root, "is signed by Apple"});
        }
        std::ranges::sort(kept_);
    }

    /// Why nothing may take away what lies at the place; absent when the findings allow it. The
    /// item is named by its path.
    [[nodiscard]] std::optional<std::string> refusal(const std::string& path,
                                                     const std::string& place, Files& files) const {
        const auto itself = firstFrom(place);
        if (itself != kept_.end() && itself->root == place) return leftInPlace(path, itself->why);
        const auto folder = place + "/";
        for (auto below = firstFrom(folder);
             below != kept_.end() && below->root.starts_with(folder); ++below) {
            // The findings may be old.
            if (!files.kind(std::string(below->root))) continue;
            return leftInPlace(path, below->root, below->why);
        }
        return std::nullopt;
    }

private:
    struct Kept {
        std::string_view root;
        std::string_view why;
        auto operator<=>(const Kept&) const = default;
    };
    using List = std::vector<Kept>;

    [[nodiscard]] List::const_iterator firstFrom(std::string_view root) const {
        return std::ranges::lower_bound(kept_, root, {}, &Kept::root);
    }

    List kept_;  ///< In the order of the roots.
};

LookServices lookServices(const ScannerServices& services) {
    return {services.reader, services.files, services.inspect, services.makeLookMemory};
}

}  // namespace

/// Asks everything that keeps an item in its place, right before it would go.
class Scanner::Guard {
public:
    /// `looks` may be null: then each item is looked into as it is now.
    Guard(const Scanner& scanner, const RemovalLooks* looks)
        : services_(scanner.services_),
          looks_(looks),
          kept_(scanner.groups(), scanner.signatures()) {}

    /// Why the item must stay; absent when it may go, or nothing was found at the path.
    [[nodiscard]] std::optional<std::string> refusal(const std::string& path, CodeRule rule) {
        if (!services_.trash || !services_.files) return leftInPlace(path, "has no Trash to go to");
        const auto look = looks_ ? looks_->find(path) : newLook(path, rule);
        if (!look) return leftInPlace(path, "was not looked into");
        auto why = look->refusal(CancelFlag());
        identity_ = look->found();
        if (why) return why;
        auto& files = *services_.files;
        if (why = kept_.refusal(path, path, files); why) return why;
        return kept_.refusal(path, look->place(), files);
    }

    /// Moves the item, unless something keeps it; then why it stayed.
    [[nodiscard]] std::optional<std::string> remove(const std::string& path, CodeRule rule) {
        if (auto why = refusal(path, rule)) return why;
        // Only what was looked into goes. Where nothing was found, the Trash says what is wrong.
        return services_.trash->moveToTrash(path, identity_.value_or(ItemIdentity()));
    }

    /// The item asked for last; absent when nothing was there.
    [[nodiscard]] std::optional<ItemIdentity> found() const { return identity_; }

private:
    [[nodiscard]] std::shared_ptr<ItemLook> newLook(const std::string& path, CodeRule rule) const {
        return std::make_shared<ItemLook>(RemovalItem{path, services_.files->identity(path), rule},
                                          lookServices(services_));
    }

    const ScannerServices& services_;
    const RemovalLooks* looks_;
    KeptGroups kept_;
    std::optional<ItemIdentity> identity_;  ///< Of the item asked for last.
};

std::unique_ptr<RemovalLooks> Scanner::removalLooks() const {
    return std::make_unique<RemovalLooks>(lookServices(services_), services_.main,
                                          services_.background);
}

bool Scanner::isRemovable(const BundleGroup& group) const {
    return !isProtected(group.root) && !isAppleSigned(group.root) && group.fix != Fix::keep;
}

std::optional<std::string> Scanner::trashGroups(const RootSet& roots, const RemovalLooks* looks) {
    const auto candidates = sharedGroups();
    Guard guard(*this, looks);
    std::optional<std::string> firstError;
    RootSet gone;
    for (const auto& group : *candidates) {
        if (!roots.contains(group.root) || !isRemovable(group)) continue;
        auto error = services_.files && services_.files->kind(group.root) == EntryKind::link
                         ? leftInPlace(group.root, "is only a link to what the scan found")
                         : guard.remove(group.root, CodeRule::noArm64);
        if (!error) gone.insert(group.root);
        if (error && !firstError) firstError = std::move(error);
    }
    static_cast<void>(forget(gone));
    regroup();
    saveWithout(gone);
    return firstError;
}

std::optional<std::string> Scanner::trashPath(const std::string& path) {
    return trashPaths({path}, nullptr);
}

std::optional<std::string> Scanner::trashPaths(const std::vector<std::string>& paths,
                                               const RemovalLooks* looks) {
    Guard guard(*this, looks);
    std::optional<std::string> firstError;
    RootSet gone;
    for (const auto& path : paths) {
        auto error = guard.remove(path, CodeRule::noKeptGroup);
        if (!error) gone.insert(path);
        if (error && !firstError) firstError = std::move(error);
    }
    // Where no finding has gone, the groups and the saved scan are what they were.
    const bool hadHits = forget(gone);
    if (hadHits) regroup();
    if (hadHits || !isWhatIsSaved()) saveWithout(gone);
    return firstError;
}

AllowedItems Scanner::allowedToGo(const std::vector<std::string>& paths,
                                  const RemovalLooks* looks) const {
    AllowedItems result;
    Guard guard(*this, looks);
    for (const auto& path : paths) {
        auto why = guard.refusal(path, CodeRule::noKeptGroup);
        if (!why && !guard.found()) why = leftInPlace(path, "could not be found");
        if (!why) result.items.push_back({path, *guard.found()});
        if (why && !result.refusal) result.refusal = std::move(why);
    }
    return result;
}

bool Scanner::forget(const RootSet& gone) {
    if (gone.empty()) return false;
    const auto before = results_.hits.size();
    forgetting_ = true;
    services_.order->announceRemoved(gone);
    forgetting_ = false;
    return results_.hits.size() < before;
}

bool Scanner::isWhatIsSaved() const {
    return !cutShort_ && services_.order->saved() <= scan_;
}

/// Where a later scan is saved, of another window that may be closed by now, it is that one which
/// must not bring back at the next start what has gone.
void Scanner::saveWithout(const RootSet& gone) {
    if (isWhatIsSaved()) return saveCache();
    auto record = gone.empty() ? std::nullopt : services_.store->readScanFile();
    if (!record) return;
    RootMatcher matcher(gone);
    const auto count =
        std::erase_if(record->hits, [&](const HitRef& hit) { return matcher.covers(hit->path); });
    if (count != 0) services_.store->writeScanFile(*record);
}

/// Whichever Scanner has removed them: what another window saves must not bring them back.
void Scanner::forgetRemoved(const RootSet& gone) {
    if (walking_) goneInScan_.insert(gone.begin(), gone.end());
    RootMatcher matcher(gone);
    const auto count =
        std::erase_if(results_.hits, [&](const HitRef& hit) { return matcher.covers(hit->path); });
    if (count == 0) return;
    changed(ScannerField::allHits);
    if (!forgetting_) regroup();
}

}  // namespace vestigo
