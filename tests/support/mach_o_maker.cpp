#include "tests/support/mach_o_maker.h"

#include <algorithm>

namespace vestigo::test {

std::string bigEndian(std::size_t value) {
    std::string bytes;
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        bytes += static_cast<char>((value >> shift) & 0xFFU);
    }
    return bytes;
}

std::string littleEndian(std::size_t value) {
    auto bytes = bigEndian(value);
    std::ranges::reverse(bytes);
    return bytes;
}

std::uint32_t thinMagic(std::uint32_t cpu) {
    return (cpu & 0x01000000U) != 0 ? 0xFEEDFACF : 0xFEEDFACE;
}

std::string thinMachO(std::uint32_t cpu) {
    auto bytes = littleEndian(thinMagic(cpu)) + littleEndian(cpu);
    bytes.resize(32);
    return bytes;
}

std::string fatMachO(const std::vector<std::uint32_t>& cpus, bool wide) {
    auto bytes = bigEndian(wide ? 0xCAFEBABF : 0xCAFEBABE) + bigEndian(cpus.size());
    for (const auto cpu : cpus) bytes += bigEndian(cpu) + std::string(wide ? 28 : 16, '\0');
    return bytes;
}

}  // namespace vestigo::test
