#include "platform/macos/macos_trash.h"

#include <Foundation/Foundation.h>
#include <fcntl.h>

#include "platform/macos/macos_file_url.h"
#include "platform/paths.h"
#include "platform/posix/system_calls.h"

namespace vestigo {
namespace {

std::string descriptionOf(NSError* error) {
    const char* const text = error.localizedDescription.UTF8String;
    return text ? text : "The item could not be moved to the Trash.";
}

}  // namespace

std::optional<std::string> MacOSTrash::moveToTrash(const std::string& path,
                                                   const ItemIdentity& item) {
    const auto found = itemIdentity(AT_FDCWD, path);
    if (found && *found != item) {
        return "“" + std::string(nameOf(path)) +
               "” could not be moved to the Trash: another item has taken its place.";
    }
    @autoreleasepool {
        NSURL* const url = fileUrlOf(path);
        if (!url) return descriptionOf(nil);
        NSError* error = nil;
        const bool moved = [NSFileManager.defaultManager trashItemAtURL:url
                                                       resultingItemURL:nil
                                                                  error:&error];
        return moved ? std::nullopt : std::optional(descriptionOf(error));
    }
}

}  // namespace vestigo
