// What a scan walks and what it passes over.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/records.h"

namespace vestigo {

/// The folders that a scan walks: the custom folder as chosen when there is one, else the scope's.
/// A leading "~" of the scope's folders becomes `home`.
[[nodiscard]] std::vector<std::string> scanRoots(const std::optional<std::string>& customFolder,
                                                 Scope scope, const std::string& home);

/// Absolute places that are never entered.
[[nodiscard]] std::span<const std::string_view> excludedPrefixes();

/// Entry names that are passed over wherever they lie; exact, case-sensitive.
[[nodiscard]] bool isExcludedName(std::string_view name);

/// Database files are never opened: by their ending, in any case.
[[nodiscard]] bool isDatabaseName(std::string_view name);

/// The exclusions that concern the entries of one folder, worked out once for all of them.
class FolderExclusions {
public:
    /// `prefix` is what stands before an entry's name in its path: the folder and a "/".
    /// `namedRoots`: roots of the walk for which the places at or above them do not count.
    explicit FolderExclusions(std::string_view prefix,
                              std::span<const std::string> namedRoots = {});

    /// The folder itself lies in an excluded place, and so does everything in it.
    [[nodiscard]] bool everything() const { return everything_; }
    [[nodiscard]] bool excludes(std::string_view name) const;

private:
    bool everything_ = false;
    std::vector<std::string_view> names_;
};

}  // namespace vestigo
