// Reads code signatures on Linux, where no system service does: from the files themselves.
#pragma once

#include "platform/bundle_information.h"
#include "platform/code_signing.h"

namespace vestigo {

/// A Mach-O file is code, and so is a bundle. A bundle's signature is that of its main executable,
/// else the one that lies in files of its own in the bundle's _CodeSignature folder, as it does
/// where the executable is a script or in an older format.
///
/// Signatures are read, not verified: sealed resources are not hashed, and this machine does not
/// have the root certificates that a verification needs. So `isAnchoredToApple` is always false:
/// code that falsely claims to be Apple's must not be protected like Apple's. Unsigned code, and
/// code with a malformed signature, has empty signing information.
class LinuxCodeSigning : public CodeSigning {
public:
    explicit LinuxCodeSigning(std::shared_ptr<BundleReader> bundles);
    /// Uses a bundle reader of its own.
    LinuxCodeSigning();
    [[nodiscard]] std::unique_ptr<StaticCode> staticCode(const std::string& path) override;

private:
    std::shared_ptr<BundleReader> bundles_;
};

}  // namespace vestigo
