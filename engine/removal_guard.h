// The places that no removal may touch, whatever path leads there, and the texts of refusals.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "platform/files.h"

namespace vestigo {

inline constexpr std::array<std::string_view, 8> protectedPrefixes{
    "/System/",   "/usr/lib/", "/usr/libexec/", "/usr/bin/",
    "/usr/sbin/", "/bin/",     "/sbin/",        "/Library/Apple/",
};

/// Whether the root begins with one of the prefixes, compared as bytes. Nothing there is ever
/// removed.
[[nodiscard]] bool isProtected(std::string_view root);

/// Whether removing the path would remove something protected: the path is a protected place, lies
/// in one or contains one.
[[nodiscard]] bool wouldRemoveProtected(std::string_view path);

/// The place where the item really lies: links in the folders above it are resolved, the item
/// itself is not. Absent when those folders do not exist or the path does not end in a name.
/// Blocking.
[[nodiscard]] std::optional<std::string> realPlace(const std::string& path, Files& files);

/// The reason why this item must not be removed: it lies in a protected place or contains one, by
/// its path or by its real place, or its real place cannot be found out. Absent when it may go.
/// Blocking.
[[nodiscard]] std::optional<std::string> protectionOf(const std::string& path, Files& files);

/// The last component of a path in quotation marks, for texts that the user reads.
[[nodiscard]] std::string quotedName(std::string_view path);

/// The sentence for an item that stays: "“Foo.app” WHY and was left in its place."
[[nodiscard]] std::string leftInPlace(std::string_view path, std::string_view why);
/// The same for an item that contains another one, to which the reason belongs.
[[nodiscard]] std::string leftInPlace(std::string_view path, std::string_view held,
                                      std::string_view why);

}  // namespace vestigo
