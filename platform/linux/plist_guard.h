// Refuses property lists that would harm the program that reads them.
#pragma once

#include <string_view>

namespace vestigo {

/// Whether a property list, binary or XML, can be handed to libplist, which trusts it in two ways:
/// it releases nested containers recursively, and it unfolds a binary list's references, of which
/// a few hundred bytes can stand for billions of objects. True promises at most 100,000 objects
/// beyond those that stand in the file, and a nesting that fits every thread's stack; it does not
/// promise that the list is well-formed.
[[nodiscard]] bool isHarmlessPropertyList(std::string_view content);

inline constexpr std::string_view binaryPropertyListMagic = "bplist00";

}  // namespace vestigo
