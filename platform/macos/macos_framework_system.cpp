// The services that are implemented by frameworks of the system.
#include "platform/macos/macos_bundle_reader.h"
#include "platform/macos/macos_code_signing.h"
#include "platform/macos/macos_owner_authentication.h"
#include "platform/macos/macos_trash.h"
#include "platform/system.h"

namespace vestigo {

std::shared_ptr<CodeSigning> systemCodeSigning() {
    return std::make_shared<MacOSCodeSigning>();
}

std::shared_ptr<BundleReader> systemBundles() {
    return std::make_shared<MacOSBundleReader>();
}

std::shared_ptr<Trash> systemTrash(const StandardFolders& /*folders*/) {
    return std::make_shared<MacOSTrash>();
}

std::shared_ptr<OwnerAuthentication> systemOwnerAuthentication(
    std::shared_ptr<Processes> /*processes*/) {
    return std::make_shared<MacOSOwnerAuthentication>();
}

}  // namespace vestigo
