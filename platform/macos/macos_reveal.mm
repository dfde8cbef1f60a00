#include "platform/macos/macos_reveal.h"

#include <AppKit/AppKit.h>

#include "platform/macos/macos_file_url.h"

namespace vestigo {

void revealInFinder(const std::string& path) {
    @autoreleasepool {
        NSURL* const url = fileUrlOf(path);
        if (url) [NSWorkspace.sharedWorkspace activateFileViewerSelectingURLs:@[ url ]];
    }
}

}  // namespace vestigo
