#include "demo/mach_o_image.h"

#include <bit>

namespace vestigo {

namespace {

constexpr std::uint32_t sliceAlignment = 6;  // As a power of two.
constexpr std::size_t sliceSize = std::size_t{1} << sliceAlignment;
constexpr std::uint32_t executableFile = 2;

void append(std::string& bytes, std::uint32_t value, std::endian order) {
    for (unsigned i = 0; i < 4; ++i) {
        const unsigned shift = 8 * (order == std::endian::big ? 3 - i : i);
        bytes += static_cast<char>((value >> shift) & 0xFFU);
    }
}

bool has64Bits(Cpu cpu) {
    return (static_cast<std::uint32_t>(cpu) & 0x01000000U) != 0;
}

std::uint32_t subtype(Cpu cpu) {
    return cpu == Cpu::i386 || cpu == Cpu::x86_64 ? 3 : 0;
}

std::string thinImage(Cpu cpu) {
    const bool powerPC = cpu == Cpu::ppc || cpu == Cpu::ppc64;
    const auto order = powerPC ? std::endian::big : std::endian::little;
    std::string bytes;
    append(bytes, has64Bits(cpu) ? 0xFEEDFACF : 0xFEEDFACE, order);
    append(bytes, static_cast<std::uint32_t>(cpu), order);
    append(bytes, subtype(cpu), order);
    append(bytes, executableFile, order);
    bytes.resize(sliceSize);  // No load commands, no flags.
    return bytes;
}

}  // namespace

std::string machOImage(const std::vector<Cpu>& cpus) {
    if (cpus.size() == 1) return thinImage(cpus.front());
    const auto count = static_cast<std::uint32_t>(cpus.size());
    const auto start = (8 + 20 * cpus.size() + sliceSize - 1) / sliceSize * sliceSize;
    std::string bytes;
    std::string slices;
    append(bytes, 0xCAFEBABE, std::endian::big);
    append(bytes, count, std::endian::big);
    for (const auto cpu : cpus) {
        append(bytes, static_cast<std::uint32_t>(cpu), std::endian::big);
        append(bytes, subtype(cpu), std::endian::big);
        append(bytes, static_cast<std::uint32_t>(start + slices.size()), std::endian::big);
        append(bytes, sliceSize, std::endian::big);
        append(bytes, sliceAlignment, std::endian::big);
        slices += thinImage(cpu);
    }
    bytes.resize(start);
    return bytes + slices;
}

}  // namespace vestigo
