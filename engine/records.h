// The records of a scan: plain values that every layer passes around.
//
// All paths are absolute byte strings, exactly as the directory walk produced them. All times are
// seconds since 2001-01-01 00:00:00 UTC; 0 means unknown.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/paths.h"

namespace vestigo {

/// One Mach-O file.
struct BinaryHit {
    std::string path;
    std::vector<std::string> archs;  ///< Architecture names, no duplicates, order not significant.
    std::int64_t size = 0;           ///< Bytes; 0 when the file system gave none.
    double mtime = 0;                ///< Content modification.
    double ctime = 0;                ///< Creation (birth) of the file.

    bool operator==(const BinaryHit&) const = default;
};

/// A hit once found never changes, so the lists that hold it share it.
using HitRef = std::shared_ptr<const BinaryHit>;
using HitList = std::vector<HitRef>;

/// Whether two lists hold equal hits in the same order.
[[nodiscard]] bool sameHits(const HitList& a, const HitList& b);

/// Kind of component. The label is the raw value: shown, saved, hashed and ordered by.
enum class Category : std::uint8_t { application, driver, plugin, library, cliTool, helper, other };

inline constexpr Category allCategories[] = {
    Category::application, Category::driver, Category::plugin, Category::library,
    Category::cliTool,     Category::helper, Category::other,
};

[[nodiscard]] std::string_view label(Category category);
[[nodiscard]] std::optional<Category> categoryFromLabel(std::string_view label);

/// Order by label as a string, not by declaration. (One operator<=> would lose against the built-in
/// comparisons of an enum.)
[[nodiscard]] bool operator<(Category a, Category b);
/// The place of the category in that order, from 0 on.
[[nodiscard]] std::size_t labelRank(Category category);
[[nodiscard]] inline bool operator>(Category a, Category b) {
    return b < a;
}
[[nodiscard]] inline bool operator<=(Category a, Category b) {
    return !(b < a);
}
[[nodiscard]] inline bool operator>=(Category a, Category b) {
    return !(a < b);
}

/// Suggested remedy. The label is the raw value.
enum class Fix : std::uint8_t { apple, homebrew, macports, manual, keep };

[[nodiscard]] std::string_view label(Fix fix);
[[nodiscard]] std::optional<Fix> fixFromLabel(std::string_view label);

/// What a scan covers: a fixed list of high-signal folders, or the whole disk.
enum class Scope : std::uint8_t { smart, deep };

[[nodiscard]] std::string_view label(Scope scope);

/// The files that share one root: a bundle, or a file that lies in no bundle.
struct BundleGroup {
    std::string root;
    bool isBundle = false;
    Category category = Category::other;
    HitList hits;  ///< In the order of the engine's hit list.
    Fix fix = Fix::manual;
    bool hasArm64 = false;  ///< Some hit of the whole scan under this root holds arm64 code.

    [[nodiscard]] std::string_view categoryName() const { return label(category); }
    [[nodiscard]] std::size_t legacyCount() const { return hits.size(); }
    /// The last non-empty component of the root, a view into it; all of it when it has none.
    [[nodiscard]] std::string_view name() const;
    /// homebrew 0, macports 1, manual 2, keep 3, apple 4.
    [[nodiscard]] int fixRank() const;
    /// Every architecture name once, ascending, joined with ", ".
    [[nodiscard]] std::string cpuSummary() const;
    [[nodiscard]] bool hasPowerPC() const;
    /// The smallest known creation time of the hits; 0 when none is known.
    [[nodiscard]] double created() const;

    bool operator==(const BundleGroup& other) const;
};

/// Code-signature summary of one group root.
struct SignInfo {
    bool isApple = false;  ///< Signed by Apple itself.
    std::string vendor;    ///< The signer's name, a team identifier, "unsigned", or empty.

    bool operator==(const SignInfo&) const = default;
};

/// Group root → summary.
using SignatureMap = std::unordered_map<std::string, SignInfo, TextHash, std::equal_to<>>;

/// A support file or folder of a bundle that is about to be removed.
struct Leftover {
    std::string path;
    bool fuzzy = false;   ///< Matched by a name, which others may share.
    bool system = false;  ///< Needs administrator rights to remove.
    bool on = true;       ///< Will be removed; the user can toggle it.

    bool operator==(const Leftover&) const = default;
};

/// What is saved of a scan between launches.
struct ScanFile {
    std::optional<std::int64_t> version;
    double date = 0;  ///< When the scan ended.
    std::vector<std::string> roots;
    HitList hits;
    std::optional<SignatureMap> signatures;
};

/// The version that is written, and the lowest that is read.
inline constexpr std::int64_t scanFileVersion = 3;

}  // namespace vestigo

/// Hashes agree with equality: member by member, enums through their labels.
template <>
struct std::hash<vestigo::BinaryHit> {
    std::size_t operator()(const vestigo::BinaryHit& hit) const noexcept;
};
template <>
struct std::hash<vestigo::BundleGroup> {
    std::size_t operator()(const vestigo::BundleGroup& group) const noexcept;
};
template <>
struct std::hash<vestigo::SignInfo> {
    std::size_t operator()(const vestigo::SignInfo& info) const noexcept;
};
template <>
struct std::hash<vestigo::Leftover> {
    std::size_t operator()(const vestigo::Leftover& leftover) const noexcept;
};
template <>
struct std::hash<vestigo::Category> {
    std::size_t operator()(vestigo::Category category) const noexcept;
};
template <>
struct std::hash<vestigo::Fix> {
    std::size_t operator()(vestigo::Fix fix) const noexcept;
};
