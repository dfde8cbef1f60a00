// Headers of Mach-O files, written by hand.
#pragma once

#include <algorithm>
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

/// The value as four bytes, most significant first.
inline std::string bigEndian(std::size_t value) {
    std::string bytes;
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        bytes += static_cast<char>((value >> shift) & 0xFFU);
    }
    return bytes;
}

inline std::string littleEndian(std::size_t value) {
    auto bytes = bigEndian(value);
    std::ranges::reverse(bytes);
    return bytes;
}

/// What a thin image for this CPU type begins with.
inline std::uint32_t thinMagic(std::uint32_t cpu) {
    return (cpu & 0x01000000U) != 0 ? 0xFEEDFACF : 0xFEEDFACE;
}

/// A thin image's header, little-endian as on Intel and ARM, padded to 32 bytes.
inline std::string thinMachO(std::uint32_t cpu) {
    auto bytes = littleEndian(thinMagic(cpu)) + littleEndian(cpu);
    bytes.resize(32);
    return bytes;
}

/// A universal file's header with one entry per CPU type; 32-byte entries when `wide`.
inline std::string fatMachO(const std::vector<std::uint32_t>& cpus, bool wide = false) {
    auto bytes = bigEndian(wide ? 0xCAFEBABF : 0xCAFEBABE) + bigEndian(cpus.size());
    for (const auto cpu : cpus) bytes += bigEndian(cpu) + std::string(wide ? 28 : 16, '\0');
    return bytes;
}

}  // namespace vestigo::test
