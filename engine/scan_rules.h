// The rules by which a scan chooses its folders and leaves out places, names and files.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/records.h"

namespace vestigo {

/// The folders that a scan walks: the custom folder if there is one, else those of the scope. A
/// leading
/// "~" in the scope's folders is replaced by `home`.
[[nodiscard]] std::vector<std::string> scanRoots(const std::optional<std::string>& customFolder,
                                                 Scope scope, const std::string& home);

/// Absolute paths of folders that a scan does not enter unless the user has named them.
[[nodiscard]] std::span<const std::string_view> excludedPrefixes();

/// Whether an entry with this name is left out wherever it lies. The case of letters counts.
[[nodiscard]] bool isExcludedName(std::string_view name);

/// Whether the name is that of a database file, by its ending in any case of letters. Such files
/// are never opened.
[[nodiscard]] bool isDatabaseName(std::string_view name);

/// The exclusions that apply to the entries of one folder, worked out once for all of them.
class FolderExclusions {
public:
    /// `prefix` is the part of an entry's path before its name: the folder and a "/". `namedRoots`
    /// are roots of the walk for which excluded places at or above them do not count.
    explicit FolderExclusions(std::string_view prefix,
                              std::span<const std::string> namedRoots = {});

    /// Whether the folder itself lies in an excluded place, and so everything in it is left out.
    [[nodiscard]] bool everything() const { return everything_; }
    /// Whether the entry with this name is left out.
    [[nodiscard]] bool excludes(std::string_view name) const;

private:
    bool everything_ = false;
    std::vector<std::string_view> names_;  ///< Names of excluded places that lie in this folder.
};

}  // namespace vestigo
