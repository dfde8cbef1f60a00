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

/// The text after the last "/": empty for a path that ends in one, the whole text where there is
/// none. A view into `path`.
[[nodiscard]] constexpr std::string_view nameOf(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

/// The last component that is not empty, whatever slashes follow it; the whole text where there is
/// none. A view into `path`.
[[nodiscard]] constexpr std::string_view lastComponent(std::string_view path) {
    const auto end = path.find_last_not_of('/');
    return end == path.npos ? path : nameOf(path.substr(0, end + 1));
}

/// The text before the last "/": empty for an item at the top ("/bin") and for a text without a
/// "/". A view into `path`.
[[nodiscard]] constexpr std::string_view folderOf(std::string_view path) {
    const auto slash = path.rfind('/');
    return slash == path.npos ? std::string_view{} : path.substr(0, slash);
}

/// Whether `path` equals `prefix` or lies under it.
[[nodiscard]] constexpr bool liesUnder(std::string_view path, std::string_view prefix) {
    return path.starts_with(prefix) && (path.size() == prefix.size() || path[prefix.size()] == '/');
}

/// Lets a hash container of strings be searched with a string_view. It is not `noexcept` so that
/// the standard library stores each hash with its string: a lookup then compares few strings, and a
/// growing container hashes none again.
struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const {
        return std::hash<std::string_view>{}(text);
    }
};

using RootSet = std::unordered_set<std::string, TextHash, std::equal_to<>>;

/// Answers `liesUnder` for many roots at once, with one look-up for each parent of the path that is
/// as long as some root. The set must outlive the matcher unchanged. Used by one thread.
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
    std::vector<bool> lengths_;  ///< For each length, whether a root has it.
    std::string_view latest_;    ///< Tried first: files of a root follow each other.
};

}  // namespace vestigo
