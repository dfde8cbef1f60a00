#include "platform/macos/macos_code_signing.h"

#include <utility>

#include <Security/Security.h>

#include "platform/macos/macos_core_foundation.h"

// Each call has its own autorelease pool: the framework leaves autoreleased objects behind, and one
// thread asks about a whole disk without returning to an event loop.

namespace vestigo {
namespace {

/// The signing certificate. Null when the chain is missing, empty or of another type.
SecCertificateRef leafCertificate(CFDictionaryRef information) {
    const auto value = CFDictionaryGetValue(information, kSecCodeInfoCertificates);
    if (!value || CFGetTypeID(value) != CFArrayGetTypeID()) return nullptr;
    const auto chain = static_cast<CFArrayRef>(value);
    if (CFArrayGetCount(chain) == 0) return nullptr;
    const auto leaf = CFArrayGetValueAtIndex(chain, 0);
    if (!leaf || CFGetTypeID(leaf) != SecCertificateGetTypeID()) return nullptr;
    return static_cast<SecCertificateRef>(const_cast<void*>(leaf));
}

std::optional<std::string> commonName(SecCertificateRef certificate) {
    OwnedReference<CFStringRef> name;
    if (SecCertificateCopyCommonName(certificate, name.receive()) != errSecSuccess) {
        return std::nullopt;
    }
    return textOf(name.get());
}

class MacOSStaticCode : public StaticCode {
public:
    explicit MacOSStaticCode(OwnedReference<SecStaticCodeRef> code) : code_(std::move(code)) {}

    bool isAnchoredToApple() override {
        @autoreleasepool {
            OwnedReference<SecRequirementRef> requirement;
            const auto status = SecRequirementCreateWithString(
                CFSTR("anchor apple"), kSecCSDefaultFlags, requirement.receive());
            if (status != errSecSuccess || !requirement) return false;
            return SecStaticCodeCheckValidity(code_.get(), kSecCSDefaultFlags, requirement.get()) ==
                   errSecSuccess;
        }
    }

    std::optional<SigningInformation> signingInformation() override {
        @autoreleasepool {
            OwnedReference<CFDictionaryRef> information;
            const auto status = SecCodeCopySigningInformation(code_.get(), kSecCSSigningInformation,
                                                              information.receive());
            if (status != errSecSuccess || !information) return std::nullopt;
            SigningInformation result;
            if (auto* const leaf = leafCertificate(information.get())) {
                result.leafCommonName = commonName(leaf);
            }
            result.teamIdentifier =
                textOf(CFDictionaryGetValue(information.get(), kSecCodeInfoTeamIdentifier));
            return result;
        }
    }

private:
    OwnedReference<SecStaticCodeRef> code_;
};

}  // namespace

std::unique_ptr<StaticCode> MacOSCodeSigning::staticCode(const std::string& path) {
    @autoreleasepool {
        const auto url = fileUrl(path, false);
        if (!url) return nullptr;
        OwnedReference<SecStaticCodeRef> code;
        const auto status =
            SecStaticCodeCreateWithPath(url.get(), kSecCSDefaultFlags, code.receive());
        if (status != errSecSuccess || !code) return nullptr;
        return std::make_unique<MacOSStaticCode>(std::move(code));
    }
}

}  // namespace vestigo
