#include "engine/protected_places.h"

#include <algorithm>
#include <string>

namespace vestigo {

bool isProtected(std::string_view root) {
    return std::ranges::any_of(
        protectedPrefixes, [root](std::string_view prefix) { return root.starts_with(prefix); });
}

bool takesProtected(std::string_view path) {
    auto folder = std::string(path);
    if (!folder.ends_with('/')) folder += '/';
    return isProtected(folder) || std::ranges::any_of(protectedPrefixes, [&](auto prefix) {
               return prefix.starts_with(folder);
           });
}

}  // namespace vestigo
