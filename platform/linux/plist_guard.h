// Refuses property lists that could crash or exhaust the program that parses them.
#pragma once

#include <string_view>

namespace vestigo {

/// Whether a property list, binary or XML, can be given to libplist safely. libplist trusts its
/// input in two ways: it releases nested containers recursively, and it copies an object for each
/// reference to it, so a binary list of a few hundred bytes can stand for billions of objects. True
/// guarantees at most 100,000 objects beyond those that stand in the file, and a nesting that fits
/// every thread's stack. It does not guarantee that the list is well-formed.
[[nodiscard]] bool isHarmlessPropertyList(std::string_view content);

inline constexpr std::string_view binaryPropertyListMagic = "bplist00";

}  // namespace vestigo
