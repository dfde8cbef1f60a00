#include "demo/demo_disk.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace vestigo {

namespace {

class Reader : public DirectoryReader {
public:
    Reader(std::shared_ptr<DirectoryReader> real, std::string disk)
        : real_(std::move(real)), disk_(std::move(disk)) {}

    [[nodiscard]] std::unique_ptr<Folder> open(const std::string& path) override {
        return real_->open(disk_ + path);
    }
    [[nodiscard]] unsigned maxOpenFolders() const override { return real_->maxOpenFolders(); }

private:
    std::shared_ptr<DirectoryReader> real_;
    std::string disk_;
};

struct Signer {
    std::string_view path;
    std::string_view commonName;
    bool apple = false;
};

constexpr std::array signers{
    Signer{"/usr/libexec/systemhelperd", "Software Signing", true},
    Signer{"/Applications/Sound Studio.app",
           "Developer ID Application: Example Audio (AB12CD34EF)"},
    Signer{"/Applications/Photo Desk.app", "Developer ID Application: Example Photo (CD34EF56AB)"},
    Signer{"/Library/Extensions/ScannerUSB.kext",
           "Developer ID Application: Example Devices, Inc. (EF56AB12CD)"},
    Signer{"/Library/Audio/Plug-Ins/VST/Plate Reverb.vst",
           "3rd Party Mac Developer Application: Example Audio (AB12CD34EF)"},
};

class SignedItem : public StaticCode {
public:
    explicit SignedItem(const Signer& signer) : signer_(signer) {}
    [[nodiscard]] bool isAnchoredToApple() override { return signer_.apple; }
    [[nodiscard]] std::optional<SigningInformation> signingInformation() override {
        return SigningInformation{std::string(signer_.commonName), std::nullopt};
    }

private:
    const Signer& signer_;
};

class Signing : public CodeSigning {
public:
    Signing(std::shared_ptr<CodeSigning> real, std::string disk)
        : real_(std::move(real)), disk_(std::move(disk)) {}

    [[nodiscard]] std::unique_ptr<StaticCode> staticCode(const std::string& path) override {
        const auto* const signer = std::ranges::find(signers, path, &Signer::path);
        if (signer != signers.end()) return std::make_unique<SignedItem>(*signer);
        return real_->staticCode(disk_ + path);
    }

private:
    std::shared_ptr<CodeSigning> real_;
    std::string disk_;
};

}  // namespace

std::shared_ptr<DirectoryReader> demoDirectoryReader(std::shared_ptr<DirectoryReader> real,
                                                     std::string disk) {
    return std::make_shared<Reader>(std::move(real), std::move(disk));
}

std::shared_ptr<CodeSigning> demoCodeSigning(std::shared_ptr<CodeSigning> real, std::string disk) {
    return std::make_shared<Signing>(std::move(real), std::move(disk));
}

}  // namespace vestigo
