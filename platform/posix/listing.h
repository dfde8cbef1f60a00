// The entries of a folder that is open.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <dirent.h>

namespace vestigo {

struct CloseListing {
    void operator()(DIR* listing) const { ::closedir(listing); }
};

/// What fdopendir(3) gives; null owns nothing.
using Listing = std::unique_ptr<DIR, CloseListing>;

/// With a descriptor of its own, from the first entry on. Null with errno.
[[nodiscard]] Listing openListing(int folder);

/// In the order the file system gives them, without "." and "..". Absent when the folder cannot be
/// listed to its end.
[[nodiscard]] std::optional<std::vector<std::string>> namesIn(int folder);

}  // namespace vestigo
