// The system's folders for the user's files.
#pragma once

#include <string>

namespace vestigo {

/// Absolute paths without a trailing slash. Asking creates none of them, except that
/// a system without a private temporary folder gets one.
struct StandardFolders {
    std::string home;
    std::string applicationSupport;  ///< The user's; every program has a folder of its own in it.
    std::string temporary;           ///< Private to the user, never shared.
    std::string caches = {};         ///< The user's, for files that can be made again.
};

}  // namespace vestigo
