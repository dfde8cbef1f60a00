#include "engine/protected_places.h"

#include <algorithm>

namespace vestigo {

bool isProtected(std::string_view root) {
    return std::ranges::any_of(
        protectedPrefixes, [root](std::string_view prefix) { return root.starts_with(prefix); });
}

}  // namespace vestigo
