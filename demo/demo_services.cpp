#include "demo/demo_services.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "engine/scan_rules.h"
#include "platform/administrator.h"
#include "platform/paths.h"

namespace vestigo {
namespace {

/// The base class of services: adds the disk's path to each path and asks the real service.
template <class Service>
class OnDisk : public Service {
public:
    OnDisk(std::shared_ptr<Service> real, std::string disk)
        : real_(std::move(real)), disk_(std::move(disk)) {}

protected:
    std::shared_ptr<Service> real_;
    std::string disk_;
};

class DemoDirectoryReader : public OnDisk<DirectoryReader> {
public:
    using OnDisk::OnDisk;

    std::unique_ptr<Folder> open(const std::string& path) override {
        return real_->open(disk_ + path);
    }
    unsigned maxOpenFolders() const override { return real_->maxOpenFolders(); }
};

/// An item of the demonstration that counts as signed, and by whom.
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
    bool isAnchoredToApple() override { return signer_.apple; }
    std::optional<SigningInformation> signingInformation() override {
        return SigningInformation{std::string(signer_.commonName), std::nullopt};
    }

private:
    const Signer& signer_;
};

class DemoCodeSigning : public OnDisk<CodeSigning> {
public:
    using OnDisk::OnDisk;

    std::unique_ptr<StaticCode> staticCode(const std::string& path) override {
        const auto* const signer = std::ranges::find(signers, path, &Signer::path);
        if (signer != signers.end()) return std::make_unique<SignedItem>(*signer);
        // All other items have the signature that is in their file, if any.
        return real_->staticCode(disk_ + path);
    }
};

class DemoFiles : public OnDisk<Files> {
public:
    using OnDisk::OnDisk;

    std::optional<std::string> read(const std::string& path) override {
        return real_->read(disk_ + path);
    }
    FileContent readToEnd(const std::string& path) override {
        return real_->readToEnd(disk_ + path);
    }
    FileContent readOwn(const std::string& path, std::size_t most) override {
        return real_->readOwn(disk_ + path, most);
    }
    bool replace(const std::string& path, std::string_view content, Access access) override {
        return real_->replace(disk_ + path, content, access);
    }
    bool exists(const std::string& path) override { return real_->exists(disk_ + path); }
    bool createFolders(const std::string& path) override {
        return real_->createFolders(disk_ + path);
    }
    bool copy(const std::string& from, const std::string& to) override {
        return real_->copy(disk_ + from, disk_ + to);
    }
    std::optional<EntryKind> kind(const std::string& path) override {
        return real_->kind(disk_ + path);
    }
    std::optional<ItemIdentity> identity(const std::string& path) override {
        return real_->identity(disk_ + path);
    }
    std::optional<std::string> resolved(const std::string& path) override {
        const auto real = real_->resolved(disk_ + path);
        // A link may lead out of the disk; what lies there does not exist for the program.
        if (!real || !liesUnder(*real, disk_)) return std::nullopt;
        return *real == disk_ ? "/" : real->substr(disk_.size());
    }
    std::optional<std::vector<std::string>> names(const std::string& folder) override {
        return real_->names(disk_ + folder);
    }
    bool isPrivateFolder(const std::string& path) override {
        return real_->isPrivateFolder(disk_ + path);
    }
    std::unique_ptr<FolderLock> lockFolder(const std::string& path,
                                           const CancelFlag& cancel) override {
        return real_->lockFolder(disk_ + path, cancel);
    }
    bool remove(const std::string& path) override { return real_->remove(disk_ + path); }
};

class DemoBundles : public OnDisk<BundleReader> {
public:
    using OnDisk::OnDisk;

    std::optional<BundleInformation> read(const std::string& path) override {
        return real_->read(disk_ + path);
    }
};

class DemoTrash : public OnDisk<Trash> {
public:
    using OnDisk::OnDisk;

    std::optional<std::string> moveToTrash(const std::string& path,
                                           const ItemIdentity& item) override {
        return real_->moveToTrash(disk_ + path, item);
    }
};

class DemoLink : public FoundLink {
public:
    DemoLink(FoundLink& real, std::size_t diskLength) : real_(real), diskLength_(diskLength) {}

    std::string_view folder() const override { return real_.folder().substr(diskLength_); }
    std::string_view destination() const override { return real_.destination(); }
    bool removeDead() override { return real_.removeDead(); }

private:
    FoundLink& real_;
    std::size_t diskLength_;
};

class DemoLinks : public OnDisk<Links> {
public:
    using OnDisk::OnDisk;

    void visit(const std::string& folder, const std::function<void(FoundLink&)>& visitor) override {
        real_->visit(disk_ + folder, [&](FoundLink& link) {
            DemoLink mapped(link, disk_.size());
            visitor(mapped);
        });
    }
};

class DemoLastingProcesses : public OnDisk<LastingProcesses> {
public:
    using OnDisk::OnDisk;

    Started start(const ProcessStart& what, const std::string& folder,
                  const std::string& note) override {
        auto mapped = what;
        mapped.program = disk_ + what.program;
        return real_->start(mapped, disk_ + folder, note);
    }
    std::unique_ptr<LastingRun> takeOver(const std::string& folder) override {
        return real_->takeOver(disk_ + folder);
    }
};

class DemoCleanupTrash : public OnDisk<CleanupTrash> {
public:
    using OnDisk::OnDisk;

    CleanupPlan plan(const std::vector<CleanupItem>& items) override {
        auto real = items;
        for (auto& item : real) item.path.insert(0, disk_);
        return real_->plan(real);
    }
};

}  // namespace

std::shared_ptr<DirectoryReader> demoDirectoryReader(std::shared_ptr<DirectoryReader> real,
                                                     std::string disk) {
    return std::make_shared<DemoDirectoryReader>(std::move(real), std::move(disk));
}

std::shared_ptr<CodeSigning> demoCodeSigning(std::shared_ptr<CodeSigning> real, std::string disk) {
    return std::make_shared<DemoCodeSigning>(std::move(real), std::move(disk));
}

std::shared_ptr<Files> demoFiles(std::shared_ptr<Files> real, std::string disk) {
    return std::make_shared<DemoFiles>(std::move(real), std::move(disk));
}

std::shared_ptr<BundleReader> demoBundles(std::shared_ptr<BundleReader> real, std::string disk) {
    return std::make_shared<DemoBundles>(std::move(real), std::move(disk));
}

std::shared_ptr<Trash> demoTrash(std::shared_ptr<Trash> real, std::string disk) {
    return std::make_shared<DemoTrash>(std::move(real), std::move(disk));
}

std::shared_ptr<Links> demoLinks(std::shared_ptr<Links> real, std::string disk) {
    return std::make_shared<DemoLinks>(std::move(real), std::move(disk));
}

std::shared_ptr<LastingProcesses> demoLastingProcesses(std::shared_ptr<LastingProcesses> real,
                                                       std::string disk) {
    return std::make_shared<DemoLastingProcesses>(std::move(real), std::move(disk));
}

std::shared_ptr<CleanupTrash> demoCleanupTrash(std::shared_ptr<CleanupTrash> real,
                                               std::string disk) {
    return std::make_shared<DemoCleanupTrash>(std::move(real), std::move(disk));
}

std::shared_ptr<Administrator> demoAdministrator(std::shared_ptr<Processes> real,
                                                 std::string disk) {
    return std::make_shared<LaunchedAdministrator>(
        std::move(real), "/bin/sh", [disk = std::move(disk)](const std::string& script) {
            return std::vector<std::string>{disk + script};
        });
}

}  // namespace vestigo
