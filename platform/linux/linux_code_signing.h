// Code signatures on Linux, where no system service reads them: from the files themselves.
#pragma once

#include "platform/bundle_information.h"
#include "platform/code_signing.h"

namespace vestigo {

/// A file is code when it is Mach-O, a folder when it is a bundle: its main executable's signature
/// counts, else the one that stands in files of its own in the bundle's _CodeSignature folder, as
/// it does where the executable is a script or of an old kind.
///
/// A signature is read, not verified: sealed resources are not hashed, and the roots of trust that
/// a verification would need are not on this machine. So nothing is ever called anchored to Apple:
/// code that claims to be Apple's and is not must not get Apple's protection. Unsigned code, and
/// code whose signature makes no sense, has signing information with nothing in it.
class LinuxCodeSigning : public CodeSigning {
public:
    explicit LinuxCodeSigning(std::shared_ptr<BundleReader> bundles);
    /// With a bundle reader of its own.
    LinuxCodeSigning();
    [[nodiscard]] std::unique_ptr<StaticCode> staticCode(const std::string& path) override;

private:
    std::shared_ptr<BundleReader> bundles_;
};

}  // namespace vestigo
