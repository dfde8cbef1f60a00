// Which processor architectures a Mach-O file holds, from its first bytes.
//
// Layouts: struct mach_header, fat_header, fat_arch and fat_arch_64 of Apple's <mach-o/loader.h>
// and <mach-o/fat.h>; CPU types of <mach/machine.h>.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vestigo {

/// How much of a file's start the reader wants to see; it never needs more: that is where the last
/// entry ends of the largest universal file that it looks into.
inline constexpr std::size_t machOHeaderBytes = 2056;

/// What is smaller is no Mach-O file.
inline constexpr std::int64_t machOSmallestBytes = 8;

/// Of the rules by which a file is told to be no Mach-O file. To be raised whenever one that was
/// none becomes one, as by a further known processor: what was remembered of such files by the
/// rules before is then forgotten.
inline constexpr std::uint16_t machORules = 1;

/// The architecture's name, or "cpu(" + decimal + ")" for a type that is not known.
[[nodiscard]] std::string cpuName(std::uint32_t cpuType);

/// The architecture names of the file that begins with `header`, each once, in the file's order;
/// never empty. Absent: no Mach-O file. A name of the "cpu(N)" form comes from thin files only.
[[nodiscard]] std::optional<std::vector<std::string>> machOArchs(std::span<const std::byte> header);

}  // namespace vestigo
