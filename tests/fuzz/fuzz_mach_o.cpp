#include <cstddef>
#include <cstdint>
#include <set>
#include <span>

#include "engine/mach_o.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto archs = vestigo::machOArchs(std::as_bytes(std::span(data, size)));
    if (archs && std::set(archs->begin(), archs->end()).size() != archs->size()) __builtin_trap();
    if (archs && archs->empty()) __builtin_trap();
    return 0;
}
