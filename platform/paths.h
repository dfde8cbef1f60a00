// Paths as text: absolute byte strings, compared exactly and never normalised. Nothing here asks
// the file system.
#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace vestigo {

/// What follows the last "/": empty for a path that ends in one, all of a text without any. A view
/// into `path`.
[[nodiscard]] constexpr std::string_view nameOf(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

/// The last component that is not empty, whatever slashes follow it; all of a text that has none. A
/// view into `path`.
[[nodiscard]] constexpr std::string_view lastComponent(std::string_view path) {
    const auto end = path.find_last_not_of('/');
    return end == path.npos ? path : nameOf(path.substr(0, end + 1));
}

/// What stands before the last "/": empty for what lies at the top ("/bin") and for a text without
/// a "/". A view into `path`.
[[nodiscard]] constexpr std::string_view folderOf(std::string_view path) {
    const auto slash = path.rfind('/');
    return slash == path.npos ? std::string_view{} : path.substr(0, slash);
}

/// Whether `path` equals `prefix` or lies under it.
[[nodiscard]] constexpr bool liesUnder(std::string_view path, std::string_view prefix) {
    return path.starts_with(prefix) && (path.size() == prefix.size() || path[prefix.size()] == '/');
}

/// Lets a container of strings be asked with a view.
struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept {
        return std::hash<std::string_view>{}(text);
    }
};

using RootSet = std::unordered_set<std::string, TextHash, std::equal_to<>>;

/// `liesUnder` for many roots at once, at the cost of a look-up for each of the path's folders that
/// is as long as some root. The set must outlive it unchanged. Used by one thread.
class RootMatcher {
public:
    explicit RootMatcher(const RootSet& roots) : roots_(roots) {
        for (const auto& root : roots) {
            if (root.size() >= lengths_.size()) lengths_.resize(root.size() + 1);
            lengths_[root.size()] = true;
        }
    }

    [[nodiscard]] bool covers(std::string_view path) {
        if (!latest_.empty() && liesUnder(path, latest_)) return true;
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
    const RootSet& roots_;
    std::vector<bool> lengths_;  ///< Whether some root is that long.
    std::string_view latest_;    ///< Files of a root come in a row.
};

}  // namespace vestigo
