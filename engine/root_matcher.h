// Many roots asked for the files under them.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "engine/records.h"
#include "engine/scan_rules.h"

namespace vestigo {

using RootSet = std::unordered_set<std::string, TextHash, std::equal_to<>>;

/// Answers whether a path is one of the roots or lies under one, at the cost of a look-up for each
/// of its folders that is as long as some root. The set must outlive it unchanged.
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
