// Stands for the Security framework, as far as it is used here.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

extern "C" {

typedef const struct __SecCode* SecStaticCodeRef;
typedef struct __SecRequirement* SecRequirementRef;
typedef struct __SecCertificate* SecCertificateRef;

typedef uint32_t SecCSFlags;
enum : SecCSFlags { kSecCSDefaultFlags = 0, kSecCSSigningInformation = 1 << 1 };
enum : OSStatus { errSecSuccess = 0 };

extern const CFStringRef kSecCodeInfoCertificates;
extern const CFStringRef kSecCodeInfoTeamIdentifier;

OSStatus SecStaticCodeCreateWithPath(CFURLRef path, SecCSFlags flags, SecStaticCodeRef* staticCode);
OSStatus SecRequirementCreateWithString(CFStringRef text, SecCSFlags flags,
                                        SecRequirementRef* requirement);
OSStatus SecStaticCodeCheckValidity(SecStaticCodeRef staticCode, SecCSFlags flags,
                                    SecRequirementRef requirement);
OSStatus SecCodeCopySigningInformation(SecStaticCodeRef code, SecCSFlags flags,
                                       CFDictionaryRef* information);
CFTypeID SecCertificateGetTypeID(void);
OSStatus SecCertificateCopyCommonName(SecCertificateRef certificate, CFStringRef* commonName);
}
