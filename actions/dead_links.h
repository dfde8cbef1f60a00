// Removes the links that a Homebrew formula leaves behind when its folder in the Cellar is gone.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/files.h"
#include "platform/links.h"

namespace vestigo {

/// The path with "." and ".." resolved and without redundant slashes. Only the text counts: links
/// are not followed. `path` must be absolute.
[[nodiscard]] std::string standardizedPath(std::string_view path);

/// Removes the dead links that point to the keg or into it, from the link folders beside its Cellar
/// ("bin", "lib", ...). Returns their number. Each link is examined again right before it is
/// removed, and stays if it leads anywhere by then. Blocking.
std::size_t cleanDeadSymlinks(const std::string& kegPath, Links& links, Files& files);

}  // namespace vestigo
