#include "platform/macos/macos_bundle_reader.h"

#include <array>
#include <climits>

#include <sys/stat.h>

#include "platform/macos/macos_core_foundation.h"

namespace vestigo {
namespace {

bool isRegularFile(const char* path) {
    struct stat status {};
    return ::stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

std::optional<std::string> executableOf(CFURLRef folder) {
    const OwnedReference<CFBundleRef> bundle(CFBundleCreate(kCFAllocatorDefault, folder));
    if (!bundle) return std::nullopt;
    const OwnedReference<CFURLRef> url(CFBundleCopyExecutableURL(bundle.get()));
    std::array<char, PATH_MAX> path{};
    if (!url ||
        !CFURLGetFileSystemRepresentation(url.get(), true, reinterpret_cast<UInt8*>(path.data()),
                                          static_cast<CFIndex>(path.size()))) {
        return std::nullopt;
    }
    return isRegularFile(path.data()) ? std::optional<std::string>(path.data()) : std::nullopt;
}

std::optional<std::string> textUnder(CFDictionaryRef dictionary, CFStringRef key) {
    auto text = textOf(CFDictionaryGetValue(dictionary, key));
    return text && !text->empty() ? text : std::nullopt;
}

}  // namespace

std::optional<BundleInformation> MacOSBundleReader::read(const std::string& path) {
    @autoreleasepool {
        const auto folder = fileUrl(path, true);
        if (!folder) return std::nullopt;
        // Read from the folder, as the bundle object keeps what it has once read.
        const OwnedReference<CFDictionaryRef> information(
            CFBundleCopyInfoDictionaryInDirectory(folder.get()));
        if (!information || CFDictionaryGetCount(information.get()) == 0) return std::nullopt;
        return BundleInformation{
            .identifier = textUnder(information.get(), kCFBundleIdentifierKey),
            .version = textUnder(information.get(), CFSTR("CFBundleShortVersionString")),
            .executable = executableOf(folder.get())};
    }
}

}  // namespace vestigo
