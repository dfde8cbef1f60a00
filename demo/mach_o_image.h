// Makes small Mach-O files: valid headers without any code, for demonstrations and benchmarks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vestigo {

enum class Cpu : std::uint32_t {
    i386 = 7,
    x86_64 = 0x01000007,
    arm = 12,
    arm64 = 0x0100000C,
    ppc = 18,
    ppc64 = 0x01000012,
};

/// A thin executable for one CPU type, in that CPU's byte order; a universal file for several. It
/// has a few hundred bytes at most. Tools that read Mach-O files accept it, also when other bytes
/// follow.
[[nodiscard]] std::string machOImage(const std::vector<Cpu>& cpus);

}  // namespace vestigo
