// The removals: what goes, what stays, and what the findings lose by it.
#include <algorithm>
#include <utility>
#include <vector>

#include "engine/protected_places.h"
#include "engine/removal_guard.h"
#include "engine/scanner.h"

namespace vestigo {
namespace {

/// Answers whether a path is one of the roots or lies under one, at the cost of a look-up for each
/// of its folders that is as long as some root.
class RootMatcher {
public:
    explicit RootMatcher(const RootSet& roots) : roots_(roots) {
        for (const auto& root : roots) {
            if (root.size() >= lengths_.size()) lengths_.resize(root.size() + 1);
            lengths_[root.size()] = true;
        }
    }

    bool covers(std::string_view path) {
        if (under(path, latest_)) return true;
        const auto longest = std::min(path.size() + 1, lengths_.size());
        for (std::size_t length = 0; length < longest; ++length) {
            if (!lengths_[length] || (length < path.size() && path[length] != '/')) continue;
            const auto found = roots_.find(path.substr(0, length));
            if (found == roots_.end()) continue;
            latest_ = *found;
            return true;
        }
        return false;
    }

private:
    static bool under(std::string_view path, std::string_view root) {
        return !root.empty() && path.starts_with(root) &&
               (path.size() == root.size() || path[root.size()] == '/');
    }

    const RootSet& roots_;
    std::vector<bool> lengths_;  ///< Whether some root is that long.
    std::string_view latest_;    ///< Files of a root come in a row.
};

}  // namespace

std::optional<std::string> Scanner::trashGroups(const RootSet& roots) {
    const auto candidates = sharedGroups();
    const auto kept = keptRoots();
    std::optional<std::string> firstError;
    RootSet gone;
    for (const auto& group : *candidates) {
        if (!roots.contains(group.root) || !mayGo(group)) continue;
        auto error = services_.files && services_.files->kind(group.root) == ItemKind::link
                         ? leftInPlace(group.root, "is only a link to what the scan found")
                         : moveToTrash(group.root, kept);
        if (!error) gone.insert(group.root);
        if (error && !firstError) firstError = std::move(error);
    }
    if (!gone.empty()) forget(gone);
    regroup();
    saveCache();
    return firstError;
}

std::optional<std::string> Scanner::trashPath(const std::string& path) {
    if (auto error = moveToTrash(path, keptRoots())) return error;
    pruneHits(path);
    regroup();
    saveCache();
    return std::nullopt;
}

std::optional<std::string> Scanner::removalRefusal(const std::string& path) const {
    if (!services_.files) return leftInPlace(path, "has no Trash to go to");
    return refusal(path, keptRoots());
}

bool Scanner::mayGo(const BundleGroup& group) const {
    return !isProtected(group.root) && !isAppleSigned(group.root) && group.fix != Fix::keep;
}

Scanner::Roots Scanner::keptRoots() const {
    Roots kept;
    for (const auto& group : groups()) {
        if (group.fix == Fix::keep) kept.insert(group.root);
    }
    return kept;
}

std::optional<std::string> Scanner::moveToTrash(const std::string& path, const Roots& kept) {
    if (!services_.trash || !services_.files) return leftInPlace(path, "has no Trash to go to");
    if (auto why = refusal(path, kept)) return why;
    // What is gone is for the Trash to report.
    const auto item = services_.files->identity(path).value_or(ItemIdentity());
    return services_.trash->moveToTrash(path, item);
}

/// By its path, and by where that really leads.
std::optional<std::string> Scanner::refusal(const std::string& path, const Roots& kept) const {
    if (auto why = protectionOf(path, *services_.files)) return why;
    const auto real = realPlace(path, *services_.files).value_or(path);
    if (isAppleSigned(path) || isAppleSigned(real)) return leftInPlace(path, "is signed by Apple");
    if (kept.contains(path) || kept.contains(real)) return leftInPlace(path, "also runs natively");
    return std::nullopt;
}

void Scanner::forget(const RootSet& gone) {
    RootMatcher matcher(gone);
    std::erase_if(results_.hits, [&](const HitRef& hit) { return matcher.covers(hit->path); });
    changed(ScannerField::allHits);
}

}  // namespace vestigo
