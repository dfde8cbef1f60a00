#include "platform/linux/linux_code_signing.h"

#include <utility>

#include "platform/linux/bundle_folder.h"
#include "platform/linux/byte_source.h"
#include "platform/linux/cms_signer.h"
#include "platform/linux/linux_bundle_reader.h"
#include "platform/linux/signature_blob.h"

namespace vestigo {
namespace {

class LinuxStaticCode : public StaticCode {
public:
    explicit LinuxStaticCode(CodeSignature signature) : signature_(std::move(signature)) {}

    bool isAnchoredToApple() override { return false; }

    std::optional<SigningInformation> signingInformation() override {
        return SigningInformation{signerCommonName(signature_.message), signature_.teamIdentifier};
    }

private:
    CodeSignature signature_;
};

/// Reads a signature whose parts lie in files of their own, as far as this folder of the bundle has
/// them.
CodeSignature readParts(const BundleFolder& bundle, const std::string& folder) {
    CodeSignature signature;
    const auto directory = bundle.file(folder + "/CodeDirectory");
    if (!directory) return signature;
    signature.teamIdentifier = teamIdentifierOf(*directory);
    if (const auto message = bundle.file(folder + "/CodeSignature");
        message && message->size() <= largestSignatureMessage) {
        signature.message = readBytes(*message, 0, message->size()).value_or(signature.message);
    }
    return signature;
}

CodeSignature readBundleParts(const std::string& path) {
    const auto bundle = BundleFolder::open(path);
    if (!bundle) return {};
    for (const auto* const folder :
         {"Contents/_CodeSignature", "Versions/Current/_CodeSignature", "_CodeSignature"}) {
        auto signature = readParts(*bundle, folder);
        if (!signature.isEmpty()) return signature;
    }
    return {};
}

CodeSignature readBundle(const std::string& path, const BundleInformation& information) {
    if (information.executable) {
        if (const auto file = FileBytes::open(*information.executable)) {
            auto signature = readCodeSignature(*file);
            if (signature && !signature->isEmpty()) return *std::move(signature);
        }
    }
    return readBundleParts(path);
}

}  // namespace

LinuxCodeSigning::LinuxCodeSigning(std::shared_ptr<BundleReader> bundles)
    : bundles_(std::move(bundles)) {}

LinuxCodeSigning::LinuxCodeSigning() : LinuxCodeSigning(std::make_shared<LinuxBundleReader>()) {}

std::unique_ptr<StaticCode> LinuxCodeSigning::staticCode(const std::string& path) {
    if (const auto file = FileBytes::open(path)) {
        auto signature = readCodeSignature(*file);
        if (!signature) return nullptr;
        return std::make_unique<LinuxStaticCode>(*std::move(signature));
    }
    const auto information = bundles_->read(path);
    if (!information) return nullptr;
    return std::make_unique<LinuxStaticCode>(readBundle(path, *information));
}

}  // namespace vestigo
