// What no removal may touch, whatever path leads there.
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

/// Begins with one of the prefixes, compared as bytes. Nothing there is ever removed.
[[nodiscard]] bool isProtected(std::string_view root);

/// Whether something protected would go with the path: it is a protected place, lies in one or
/// holds one.
[[nodiscard]] bool wouldRemoveProtected(std::string_view path);

/// Where the item really lies: the links in the folders above it are followed, it itself is not.
/// Absent when those folders lead nowhere or the path does not end in a name.
[[nodiscard]] std::optional<std::string> realPlace(const std::string& path, Files& files);

/// Why nothing may remove this item: it lies in a protected place or has one in it, by its path or
/// by where that leads, or nobody can tell where that leads. Absent when it may go. Blocking.
[[nodiscard]] std::optional<std::string> protectionOf(const std::string& path, Files& files);

/// The last component in quotation marks, for texts that the user reads.
[[nodiscard]] std::string quotedName(std::string_view path);

/// The reason given for an item that is left alone, in its own words: "“Foo.app” …".
[[nodiscard]] std::string leftInPlace(std::string_view path, std::string_view why);
/// The same for an item that holds another one, of which "why" tells.
[[nodiscard]] std::string leftInPlace(std::string_view path, std::string_view held,
                                      std::string_view why);

}  // namespace vestigo
