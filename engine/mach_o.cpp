#include "engine/mach_o.h"

#include <algorithm>
#include <string_view>

namespace vestigo {
namespace {

struct CpuType {
    std::uint32_t value;
    std::string_view name;
};

constexpr CpuType knownCpuTypes[] = {
    {0x00000007, "i386"},  {0x01000007, "x86_64"}, {0x0000000C, "arm"},
    {0x0100000C, "arm64"}, {0x00000012, "ppc"},    {0x01000012, "ppc64"},
};

constexpr std::uint32_t fatMagic = 0xCAFEBABE;
constexpr std::uint32_t fatMagic64 = 0xCAFEBABF;
// The magic numbers of files with one architecture, as read from the first four bytes in
// little-endian order.
constexpr std::uint32_t littleEndian32 = 0xFEEDFACE;
constexpr std::uint32_t littleEndian64 = 0xFEEDFACF;
constexpr std::uint32_t bigEndian32 = 0xCEFAEDFE;
constexpr std::uint32_t bigEndian64 = 0xCFFAEDFE;

// A Java class file begins with the same magic number as a universal file and has its version in
// the place of the count. Its "entries" name no known processor; the limit keeps their number
// small.
constexpr std::uint32_t maxFatEntries = 64;

const CpuType* knownCpuType(std::uint32_t value) {
    const auto* const found = std::ranges::find(knownCpuTypes, value, &CpuType::value);
    return found == std::end(knownCpuTypes) ? nullptr : found;
}

std::uint32_t byteAt(std::span<const std::byte> bytes, std::size_t offset) {
    return std::to_integer<std::uint32_t>(bytes[offset]);
}

std::uint32_t readBigEndian(std::span<const std::byte> bytes, std::size_t offset) {
    return byteAt(bytes, offset) << 24U | byteAt(bytes, offset + 1) << 16U |
           byteAt(bytes, offset + 2) << 8U | byteAt(bytes, offset + 3);
}

std::uint32_t readLittleEndian(std::span<const std::byte> bytes, std::size_t offset) {
    return byteAt(bytes, offset + 3) << 24U | byteAt(bytes, offset + 2) << 16U |
           byteAt(bytes, offset + 1) << 8U | byteAt(bytes, offset);
}

std::vector<std::string> fatArchs(std::span<const std::byte> header, std::size_t entrySize) {
    std::vector<std::string> archs;
    const auto count = std::min(readBigEndian(header, 4), maxFatEntries);
    for (std::size_t i = 0; i < count; ++i) {
        const auto offset = 8 + i * entrySize;
        if (offset + 8 > header.size()) break;
        const auto* const type = knownCpuType(readBigEndian(header, offset));
        if (type && std::ranges::find(archs, type->name) == archs.end()) {
            archs.emplace_back(type->name);
        }
    }
    return archs;
}

}  // namespace

std::string cpuName(std::uint32_t cpuType) {
    if (const auto* const known = knownCpuType(cpuType)) return std::string(known->name);
    return "cpu(" + std::to_string(cpuType) + ")";
}

std::optional<std::vector<std::string>> machOArchs(std::span<const std::byte> header) {
    if (header.size() < machOSmallestBytes) return std::nullopt;
    const auto fat = readBigEndian(header, 0);
    if (fat == fatMagic || fat == fatMagic64) {
        auto archs = fatArchs(header, fat == fatMagic64 ? 32 : 20);
        if (archs.empty()) return std::nullopt;
        return archs;
    }
    switch (readLittleEndian(header, 0)) {
        case littleEndian32:
        case littleEndian64: return {{cpuName(readLittleEndian(header, 4))}};
        case bigEndian32:
        case bigEndian64: return {{cpuName(readBigEndian(header, 4))}};
        default: return std::nullopt;
    }
}

}  // namespace vestigo
