// The places guarded by System Integrity Protection.
#pragma once

#include <array>
#include <string_view>

namespace vestigo {

inline constexpr std::array<std::string_view, 8> protectedPrefixes{
    "/System/",   "/usr/lib/", "/usr/libexec/", "/usr/bin/",
    "/usr/sbin/", "/bin/",     "/sbin/",        "/Library/Apple/",
};

/// Begins with one of the prefixes, compared as bytes. Nothing there is ever removed.
[[nodiscard]] bool isProtected(std::string_view root);

/// Whether something protected would go with the path: it is a protected place, lies in one or
/// holds one.
[[nodiscard]] bool takesProtected(std::string_view path);

}  // namespace vestigo
