// The rules that turn a file's path into a group, its category and its remedy. They are pure
// functions of strings and ask nothing of the disk.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "engine/records.h"

namespace vestigo {

/// Whether these architectures include Intel or PowerPC and not arm64.
[[nodiscard]] bool isLegacy(std::span<const std::string> archs);

[[nodiscard]] bool holdsArm64(std::span<const std::string> archs);

/// The path that all files of a group have in common.
struct GroupRoot {
    std::string root;
    bool isBundle = false;
    bool operator==(const GroupRoot&) const = default;
};

/// The outermost bundle that the path lies in, or the path itself when it lies in none. Empty
/// components are left out of a bundle's path.
[[nodiscard]] GroupRoot groupRoot(std::string_view path);

/// The length of the part of `path` that names its outermost bundle; absent when it lies in none.
/// The length counts `path` as it is, with any empty components.
[[nodiscard]] std::optional<std::size_t> bundleLength(std::string_view path);

/// The kind of component that the root's extensions and folders make it.
[[nodiscard]] Category categoryForPath(std::string_view root);

/// The remedy for a group with this root. Apple's code and code that also runs natively come first.
[[nodiscard]] Fix fixForPath(std::string_view root, bool isApple, bool hasArm64);

/// The Homebrew formula that a root belongs to, which is the component after the first "Cellar".
/// Absent when there is none.
[[nodiscard]] std::optional<std::string> formulaName(std::string_view root);

}  // namespace vestigo
