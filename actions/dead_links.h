// The links that a Homebrew formula leaves behind when its folder in the Cellar has gone.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/files.h"
#include "platform/links.h"

namespace vestigo {

/// "." and ".." resolved and redundant separators dropped, in the text alone: no link is looked at.
/// `path` is absolute.
[[nodiscard]] std::string standardizedPath(std::string_view path);

/// Removes the links in the link folders beside the keg's Cellar ("bin", "lib", ...) that point to
/// the keg or into it and lead nowhere; how many. A link is looked at again just before it goes,
/// and stays when it works in any way. Blocking.
std::size_t cleanDeadSymlinks(const std::string& kegPath, Links& links, Files& files);

}  // namespace vestigo
