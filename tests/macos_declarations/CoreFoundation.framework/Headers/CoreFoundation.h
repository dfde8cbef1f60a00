// Stands for the CoreFoundation framework, as far as it is used here.
#pragma once

#include <cstdint>

extern "C" {

typedef unsigned char Boolean;
typedef std::uint8_t UInt8;
typedef std::uint32_t UInt32;
typedef std::int32_t OSStatus;
typedef const void* CFTypeRef;
typedef unsigned long CFTypeID;
typedef long CFIndex;
typedef UInt32 CFStringEncoding;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFString* CFStringRef;
typedef const struct __CFArray* CFArrayRef;
typedef const struct __CFDictionary* CFDictionaryRef;
typedef const struct __CFURL* CFURLRef;
typedef struct __CFBundle* CFBundleRef;

struct CFRange {
    CFIndex location;
    CFIndex length;
};
static inline CFRange CFRangeMake(CFIndex location, CFIndex length) {
    return {location, length};
}

extern const CFAllocatorRef kCFAllocatorDefault;
void CFRelease(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);

#define CFSTR(text) ((CFStringRef)__builtin___CFStringMakeConstantString("" text ""))
enum : CFStringEncoding { kCFStringEncodingUTF8 = 0x08000100 };
CFTypeID CFStringGetTypeID(void);
CFIndex CFStringGetLength(CFStringRef string);
CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex maxBufferLength, CFIndex* usedBufferLength);

CFTypeID CFArrayGetTypeID(void);
CFIndex CFArrayGetCount(CFArrayRef array);
const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);
CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary);
const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);

CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, const UInt8* buffer,
                                                 CFIndex length, Boolean isDirectory);
Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer,
                                         CFIndex maxLength);

extern const CFStringRef kCFBundleIdentifierKey;
CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef url);
CFURLRef CFBundleCopyExecutableURL(CFBundleRef bundle);
CFDictionaryRef CFBundleCopyInfoDictionaryInDirectory(CFURLRef url);
}
