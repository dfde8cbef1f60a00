// The rules that turn a file's path into a group: pure functions over strings.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "engine/records.h"

namespace vestigo {

/// Holds Intel or PowerPC code and no arm64 code.
[[nodiscard]] bool isLegacy(std::span<const std::string> archs);

[[nodiscard]] bool holdsArm64(std::span<const std::string> archs);

struct GroupRoot {
    std::string root;
    bool isBundle = false;
    bool operator==(const GroupRoot&) const = default;
};

/// The outermost enclosing bundle, or the path itself when it lies in none.
[[nodiscard]] GroupRoot groupRoot(std::string_view path);

/// The length of the outermost bundle's path at the start of `path`; absent when there is none.
/// Counts `path` as it stands, so empty components in it are part of the length.
[[nodiscard]] std::optional<std::size_t> bundleLength(std::string_view path);

[[nodiscard]] Category categoryForPath(std::string_view root);

[[nodiscard]] Fix fixForPath(std::string_view root, bool isApple, bool hasArm64);

/// The Homebrew formula that a root belongs to: the component after the first "Cellar".
[[nodiscard]] std::optional<std::string> formulaName(std::string_view root);

}  // namespace vestigo
