// Finds out from the first bytes of a file whether it is a Mach-O file and which processor
// architectures it holds.
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

/// How many bytes from the start of a file are needed at most. The last entry of the largest
/// universal file that is understood ends there.
inline constexpr std::size_t machOHeaderBytes = 2056;

/// A smaller file is no Mach-O file.
inline constexpr std::int64_t machOSmallestBytes = 8;

/// The version of the rules by which a file is found to be no Mach-O file. Raise it with every
/// change by which such a file may become a Mach-O file, for example when a processor is added: the
/// files remembered under the old rules are then forgotten and read again.
inline constexpr std::uint16_t machORules = 1;

/// The name of the architecture, or "cpu(N)" with the decimal number of a type that is not known.
[[nodiscard]] std::string cpuName(std::uint32_t cpuType);

/// The names of the architectures in the file that begins with `header`, each once, in the file's
/// order. The list is never empty; it is absent for a file that is no Mach-O file. Only for a file
/// with a single architecture may the name have the form "cpu(N)".
[[nodiscard]] std::optional<std::vector<std::string>> machOArchs(std::span<const std::byte> header);

}  // namespace vestigo
