#include "platform/macos/macos_core_foundation.h"

namespace vestigo {

std::optional<std::string> textOf(CFTypeRef value) {
    if (!value || CFGetTypeID(value) != CFStringGetTypeID()) return std::nullopt;
    const auto string = static_cast<CFStringRef>(value);
    const auto all = CFRangeMake(0, CFStringGetLength(string));
    // The first call determines the size, the second one copies the bytes.
    CFIndex size = 0;
    const auto convert = [&](UInt8* buffer, CFIndex room) {
        return CFStringGetBytes(string, all, kCFStringEncodingUTF8, 0, false, buffer, room, &size);
    };
    if (convert(nullptr, 0) != all.length) return std::nullopt;
    std::string text(static_cast<std::size_t>(size), '\0');
    if (convert(reinterpret_cast<UInt8*>(text.data()), size) != all.length) return std::nullopt;
    return text;
}

OwnedReference<CFURLRef> fileUrl(const std::string& path, bool isFolder) {
    return OwnedReference<CFURLRef>(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()),
        static_cast<CFIndex>(path.size()), isFolder));
}

}  // namespace vestigo
