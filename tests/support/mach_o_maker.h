// Headers of Mach-O files, written by hand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vestigo::test {

inline constexpr std::uint32_t cpuI386 = 7;
inline constexpr std::uint32_t cpuX86_64 = 0x01000007;
inline constexpr std::uint32_t cpuArm64 = 0x0100000C;
inline constexpr std::uint32_t cpuPpc = 18;
inline constexpr std::uint32_t cpuPpc64 = 0x01000012;

/// A thin image's header, little-endian as on Intel and ARM, padded to 32 bytes.
std::string thinMachO(std::uint32_t cpu);
/// A universal file's header with one entry per CPU type; 32-byte entries when `wide`.
std::string fatMachO(const std::vector<std::uint32_t>& cpus, bool wide = false);

/// What a thin image for this CPU type begins with.
std::uint32_t thinMagic(std::uint32_t cpu);

/// The value as four bytes, most significant first.
std::string bigEndian(std::size_t value);
std::string littleEndian(std::size_t value);

}  // namespace vestigo::test
