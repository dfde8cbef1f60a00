// Converts paths for Objective-C. For Objective-C++ only.
#pragma once

#include <string>

#include <Foundation/Foundation.h>

namespace vestigo {

/// The URL of the item at the path itself, whatever its kind. nil for a path that is not absolute.
[[nodiscard]] inline NSURL* fileUrlOf(const std::string& path) {
    if (!path.starts_with('/') || path.find('\0') != std::string::npos) return nil;
    return [NSURL fileURLWithFileSystemRepresentation:path.c_str()
                                          isDirectory:NO
                                        relativeToURL:nil];
}

}  // namespace vestigo
