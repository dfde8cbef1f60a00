// The records of a scan: plain values that all layers pass to each other.
//
// All paths are absolute byte strings, exactly as the walk produced them. All times are seconds
// since 2001-01-01 00:00:00 UTC; 0 means unknown.
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
    /// Names of architectures, each once. Their order has no meaning.
    std::vector<std::string> archs;
    std::int64_t size = 0;  ///< In bytes; 0 when the file system gave none.
    double mtime = 0;       ///< When the content was last modified.
    double ctime = 0;       ///< When the file was created (its birth time).

    bool operator==(const BinaryHit&) const = default;
};

/// A hit never changes once it has been found, so all lists share the same object.
using HitRef = std::shared_ptr<const BinaryHit>;
using HitList = std::vector<HitRef>;

/// Whether two lists hold equal hits in the same order.
[[nodiscard]] bool sameHits(const HitList& a, const HitList& b);

/// Erases the hits at and below these roots. Returns how many there were.
std::size_t eraseHitsUnder(const RootSet& roots, HitList& hits);

/// The kind of component. The label is its raw value, by which it is shown, saved, hashed and
/// ordered.
enum class Category : std::uint8_t { application, driver, plugin, library, cliTool, helper, other };

inline constexpr Category allCategories[] = {
    Category::application, Category::driver, Category::plugin, Category::library,
    Category::cliTool,     Category::helper, Category::other,
};

[[nodiscard]] std::string_view label(Category category);
[[nodiscard]] std::optional<Category> categoryFromLabel(std::string_view label);

/// Categories are ordered by label as a string, not by declaration. Four operators are needed
/// because the built-in comparisons of an enum would take precedence over one operator<=>.
[[nodiscard]] bool operator<(Category a, Category b);
/// The position of the category in that order, counted from 0.
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

/// The suggested remedy. The label is its raw value.
enum class Fix : std::uint8_t { apple, homebrew, macports, manual, keep };

[[nodiscard]] std::string_view label(Fix fix);
[[nodiscard]] std::optional<Fix> fixFromLabel(std::string_view label);

/// The extent of a scan: a fixed list of folders in which programs usually lie, or the whole disk.
enum class Scope : std::uint8_t { smart, deep };

[[nodiscard]] std::string_view label(Scope scope);

/// The files that share one root: a bundle, or a file that lies in no bundle.
struct BundleGroup {
    std::string root;
    bool isBundle = false;
    Category category = Category::other;
    HitList hits;  ///< Those that are listed, in the order of the Scanner's hit list.
    Fix fix = Fix::manual;
    bool hasArm64 = false;  ///< Some hit under this root, listed or not, holds arm64 code.

    [[nodiscard]] std::string_view categoryName() const { return label(category); }
    [[nodiscard]] std::size_t legacyCount() const { return hits.size(); }
    /// The last non-empty component of the root, as a view into it; the whole root if it has none.
    [[nodiscard]] std::string_view name() const;
    /// The position of the remedy in a sorted table: homebrew 0, macports 1, manual 2, keep 3,
    /// apple 4.
    [[nodiscard]] int fixRank() const;
    /// The names of all architectures, each once, in ascending order and joined with ", ".
    [[nodiscard]] std::string cpuSummary() const;
    [[nodiscard]] bool hasPowerPC() const;
    /// The earliest known creation time of the hits; 0 when none is known.
    [[nodiscard]] double created() const;

    bool operator==(const BundleGroup& other) const;
};

/// The summary of a group root's code signature.
struct SignInfo {
    bool isApple = false;  ///< Signed by Apple itself.
    std::string vendor;    ///< The signer's name, a team identifier, "unsigned", or empty.

    bool operator==(const SignInfo&) const = default;
};

/// Maps a group root to its summary.
using SignatureMap = std::unordered_map<std::string, SignInfo, TextHash, std::equal_to<>>;

/// A support file or folder of a bundle that is about to be removed.
struct Leftover {
    std::string path;
    bool fuzzy = false;   ///< Found by a name that other programs may share.
    bool system = false;  ///< Only an administrator may remove it.
    bool on = true;       ///< The user has chosen it for removal.

    bool operator==(const Leftover&) const = default;
};

/// The results of a scan as they are saved between launches.
struct ScanFile {
    std::optional<std::int64_t> version;
    double date = 0;  ///< When the scan ended.
    std::vector<std::string> roots;
    HitList hits;
    std::optional<SignatureMap> signatures;
};

/// The version of saved scans that is written, and the lowest version that is read.
inline constexpr std::int64_t scanFileVersion = 3;

}  // namespace vestigo

/// Hashes agree with equality. They cover all members, and enums by their labels.
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
