#include "platform/posix/listing.h"

#include <cerrno>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "platform/posix/retrying.h"

namespace vestigo {
namespace {

/// Null at the end, and with errno when it cannot be read.
const dirent* nextEntry(DIR* listing) {
    return retrying([listing] {
        errno = 0;
        return ::readdir(listing);
    });
}

}  // namespace

Listing openListing(int folder) {
    constexpr int asFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;
    const int own = retrying([folder] { return ::openat(folder, ".", asFolder); });
    Listing listing(own < 0 ? nullptr : retrying([own] { return ::fdopendir(own); }));
    if (!listing && own >= 0) ::close(own);
    return listing;
}

std::optional<std::vector<std::string>> namesIn(int folder) {
    const auto listing = openListing(folder);
    if (!listing) return std::nullopt;
    std::vector<std::string> result;
    while (const auto* const entry = nextEntry(listing.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") result.emplace_back(name);
    }
    return errno == 0 ? std::optional(std::move(result)) : std::nullopt;
}

}  // namespace vestigo
