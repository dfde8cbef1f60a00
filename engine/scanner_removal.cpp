// The Scanner's removals: which items go to the Trash, and how results and saved scan follow.
//
// Every item is decided on twice. The background check (engine/removal_check) tells early what the
// item holds, but the disk may change before the user agrees. So `Guard` repeats the check right
// before each move, which is quick because it reads only what has changed since. Both read the
// disk, because the findings may be old; the findings can only add reasons to keep an item.
//
// A removal is announced to all Scanners through `ScanOrder`. Each drops its hits under the removed
// roots, and a running scan also drops those that arrive later: otherwise the next save of another
// window would bring back items that are gone.
#include <algorithm>
#include <utility>
#include <vector>

#include "engine/removal_guard.h"
#include "engine/scanner.h"
#include "platform/paths.h"

namespace vestigo {
namespace {

/// The groups that must stay by the findings, searchable by path. They include groups in places
/// that no walk enters, which the check of an item would not see. A universal file that lies in no
/// bundle does not count: it does not keep the folder around it.
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

    /// The reason why the item at this place must stay; absent when the findings allow its removal.
    /// The reason names the item by `path`; `place` is where it really lies.
    [[nodiscard]] std::optional<std::string> refusal(const std::string& path,
                                                     const std::string& place, Files& files) const {
        const auto itself = firstFrom(place);
        if (itself != kept_.end() && itself->root == place) return leftInPlace(path, itself->why);
        const auto folder = place + "/";
        for (auto below = firstFrom(folder);
             below != kept_.end() && below->root.starts_with(folder); ++below) {
            // The group may be gone by now: a finding may be old.
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

    List kept_;  ///< Sorted by root, so that the groups below a folder stand in a row.
};

CheckServices checkServices(const ScannerServices& services) {
    return {services.reader, services.files, services.inspect, services.makeCheckMemory};
}

}  // namespace

/// Decides on an item right before it would be moved, and moves it. It remembers the last item.
class Scanner::Guard {
public:
    /// `checks` may be null: then each item gets a new check, of the state that it has now.
    Guard(const Scanner& scanner, const RemovalChecks* checks)
        : services_(scanner.services_),
          checks_(checks),
          kept_(scanner.groups(), scanner.signatures()) {}

    /// The reason why the item must stay; absent when it may go, or when nothing is at the path.
    [[nodiscard]] std::optional<std::string> refusal(const std::string& path, CodeRule rule) {
        if (!services_.trash || !services_.files) return leftInPlace(path, "has no Trash to go to");
        const auto check = checks_ ? checks_->find(path) : newCheck(path, rule);
        if (!check) return leftInPlace(path, "was not looked into");
        auto why = check->refusal(CancelFlag());
        identity_ = check->found();
        if (why) return why;
        auto& files = *services_.files;
        if (why = kept_.refusal(path, path, files); why) return why;
        return kept_.refusal(path, check->place(), files);
    }

    /// Moves the item, unless something keeps it. Returns the reason when it stays.
    [[nodiscard]] std::optional<std::string> remove(const std::string& path, CodeRule rule) {
        if (auto why = refusal(path, rule)) return why;
        // The Trash moves only the item with this identity, which is the one that was checked. If
        // nothing was found at the path, the Trash reports that.
        return services_.trash->moveToTrash(path, identity_.value_or(ItemIdentity()));
    }

    /// The identity of the last item; absent when nothing was there.
    [[nodiscard]] std::optional<ItemIdentity> found() const { return identity_; }

private:
    [[nodiscard]] std::shared_ptr<ItemCheck> newCheck(const std::string& path,
                                                      CodeRule rule) const {
        return std::make_shared<ItemCheck>(RemovalItem{path, services_.files->identity(path), rule},
                                           checkServices(services_));
    }

    const ScannerServices& services_;
    const RemovalChecks* checks_;
    KeptGroups kept_;
    std::optional<ItemIdentity> identity_;
};

std::unique_ptr<RemovalChecks> Scanner::removalChecks() const {
    return std::make_unique<RemovalChecks>(checkServices(services_), services_.main,
                                           services_.background);
}

bool Scanner::isRemovable(const BundleGroup& group) const {
    return !isProtected(group.root) && !isAppleSigned(group.root) && group.fix != Fix::keep;
}

std::optional<std::string> Scanner::trashGroups(const RootSet& roots, const RemovalChecks* checks) {
    const auto candidates = sharedGroups();
    Guard guard(*this, checks);
    std::optional<std::string> firstError;
    RootSet removed;
    for (const auto& group : *candidates) {
        if (!roots.contains(group.root) || !isRemovable(group)) continue;
        auto error = services_.files && services_.files->kind(group.root) == EntryKind::link
                         ? leftInPlace(group.root, "is only a link to what the scan found")
                         : guard.remove(group.root, CodeRule::noArm64);
        if (!error) removed.insert(group.root);
        if (error && !firstError) firstError = std::move(error);
    }
    static_cast<void>(dropHits(removed));
    regroup();
    saveWithout(removed);
    return firstError;
}

std::optional<std::string> Scanner::trashPath(const std::string& path) {
    return trashPaths({path}, nullptr);
}

std::optional<std::string> Scanner::trashPaths(const std::vector<std::string>& paths,
                                               const RemovalChecks* checks) {
    Guard guard(*this, checks);
    std::optional<std::string> firstError;
    RootSet removed;
    for (const auto& path : paths) {
        auto error = guard.remove(path, CodeRule::noKeptGroup);
        if (!error) removed.insert(path);
        if (error && !firstError) firstError = std::move(error);
    }
    // If no hit was dropped, the groups and the saved scan are still right.
    const bool hadHits = dropHits(removed);
    if (hadHits) regroup();
    if (hadHits || !ownsSavedScan()) saveWithout(removed);
    return firstError;
}

AllowedItems Scanner::allowedToGo(const std::vector<std::string>& paths,
                                  const RemovalChecks* checks) const {
    AllowedItems result;
    Guard guard(*this, checks);
    for (const auto& path : paths) {
        auto why = guard.refusal(path, CodeRule::noKeptGroup);
        if (!why && !guard.found()) why = leftInPlace(path, "could not be found");
        if (!why) result.items.push_back({path, *guard.found()});
        if (why && !result.refusal) result.refusal = std::move(why);
    }
    return result;
}

bool Scanner::dropHits(const RootSet& removed) {
    if (removed.empty()) return false;
    const auto before = results_.hits.size();
    removing_ = true;
    services_.order->announceRemoved(removed);
    removing_ = false;
    return results_.hits.size() < before;
}

bool Scanner::ownsSavedScan() const {
    return !cutShort_ && services_.order->saved() <= scan_;
}

/// Saves these results if they may replace the saved scan. If a later scan of another window is
/// saved, the removed hits are taken out of that one: its window may be closed by now, and the next
/// start of the program would show them again.
void Scanner::saveWithout(const RootSet& removed) {
    if (ownsSavedScan()) return saveCache();
    auto record = removed.empty() ? std::nullopt : services_.store->readScanFile();
    if (record && eraseHitsUnder(removed, record->hits) != 0)
        services_.store->writeScanFile(*record);
}

/// Called in every Scanner, also in those that did not remove the items themselves.
void Scanner::receiveRemoved(const RootSet& removed) {
    if (walking_ || loading()) removedInScan_.insert(removed.begin(), removed.end());
    if (eraseHitsUnder(removed, results_.hits) == 0) return;
    changed(ScannerField::allHits);
    if (!removing_) regroup();
}

}  // namespace vestigo
