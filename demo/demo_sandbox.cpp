#include "demo/demo_sandbox.h"

#include <QApplication>
#include <QMessageBox>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "demo/demo_services.h"
#include "demo/demo_tree.h"
#include "engine/scan_rules.h"
#include "platform/linux/linux_bundle_reader.h"
#include "platform/linux/linux_code_signing.h"
#include "platform/linux/linux_directory_reader.h"
#include "platform/linux/linux_trash.h"
#include "platform/paths.h"
#include "platform/posix/posix_files.h"
#include "platform/posix/posix_lasting_processes.h"
#include "platform/posix/posix_links.h"
#include "platform/posix/posix_processes.h"
#include "platform/posix/thread_tasks.h"
#include "platform/qt/qt_desktop.h"
#include "platform/qt/qt_preferences.h"
#include "ui/widgets/text.h"

namespace vestigo {

DemoSandbox::DemoSandbox() {
    std::error_code error;
    auto path = (std::filesystem::temp_directory_path(error) / "vestigo-demo-XXXXXX").string();
    if (error || mkdtemp(path.data()) == nullptr) return;
    folder_ = path;
    const auto real = std::filesystem::canonical(path, error).string();
    if (!error && makeDemoTree(real)) disk_ = real;
}

DemoSandbox::~DemoSandbox() {
    std::error_code error;
    if (folder_) std::filesystem::remove_all(*folder_, error);
}

namespace {

/// Shows the real desktop, and converts between real paths and paths on the made-up disk.
class DemoDesktop : public Desktop {
public:
    DemoDesktop(std::unique_ptr<Desktop> real, std::string disk)
        : real_(std::move(real)), disk_(std::move(disk)) {}

    void reveal(const std::string& path) override { real_->reveal(disk_ + path); }
    void copyText(const std::string& text) override { real_->copyText(text); }
    void announce(const std::string& text) override { real_->announce(text); }
    std::optional<std::string> chooseFolder() override {
        const auto chosen = real_->chooseFolder();
        if (!chosen) return std::nullopt;
        if (*chosen == disk_) return "/";
        if (liesUnder(*chosen, disk_)) return chosen->substr(disk_.size());
        explainRefusal(*chosen);
        return std::nullopt;
    }
    std::optional<std::string> chooseCsvFile(const std::string& name) override {
        return real_->chooseCsvFile(name);
    }

private:
    void explainRefusal(const std::string& folder) const {
        QMessageBox message(QMessageBox::Information, QObject::tr("Demonstration"),
                            QObject::tr("“%1” is not on the made-up disk.").arg(toQString(folder)),
                            QMessageBox::Ok, QApplication::activeWindow());
        message.setInformativeText(
            QObject::tr("The demonstration scans only folders in “%1”, so that nothing of yours is "
                        "touched.")
                .arg(toQString(disk_)));
        message.setTextFormat(Qt::PlainText);
        message.exec();
    }

    std::unique_ptr<Desktop> real_;
    std::string disk_;
};

/// Nobody owns the made-up disk, so nobody can be asked to confirm a removal.
class NoAuthentication : public OwnerAuthentication {
public:
    bool available() override { return false; }
    void authenticate(const std::string&, std::function<void(bool)> reply) override {
        reply(false);
    }
};

/// The program refuses a temporary folder that others may enter.
void makePrivateFolder(const std::string& path) {
    static_cast<void>(PosixFiles().createFolders(path));
    std::error_code error;
    std::filesystem::permissions(path, std::filesystem::perms::owner_all, error);
}

}  // namespace

std::string demoTrashFolder(const std::string& disk) {
    return disk + demoHome + "/.local/share/Trash";
}

PlatformServices demoPlatformServices(const std::string& disk) {
    const auto library = std::string(demoHome) + "/Library";
    const std::string temporary = "/private/var/folders/demo/T";
    makePrivateFolder(disk + temporary);
    makePrivateFolder(demoTrashFolder(disk));
    static_cast<void>(PosixFiles().createFolders(disk + library + "/Preferences"));
    const auto trash = demoTrashFolder(disk);
    const auto processes = std::make_shared<PosixProcesses>(std::make_shared<ThreadTasks>());
    return {
        .folders = {.home = demoHome,
                    .applicationSupport = library + "/Application Support",
                    .temporary = temporary},
        .preferences = QtPreferences::inFile(disk + library + "/Preferences/vestigo.ini"),
        .openPreviousPreferences = {},
        .reader = demoDirectoryReader(std::make_shared<LinuxDirectoryReader>(), disk),
        .signing = demoCodeSigning(std::make_shared<LinuxCodeSigning>(), disk),
        .desktop = std::make_shared<DemoDesktop>(std::make_unique<QtDesktop>(disk), disk),
        .files = demoFiles(std::make_shared<PosixFiles>(), disk),
        .bundles = demoBundles(std::make_shared<LinuxBundleReader>(), disk),
        .trash = demoTrash(std::make_shared<LinuxTrash>(trash), disk),
        .cleanupTrash = demoCleanupTrash(std::make_shared<LinuxCleanupTrash>(trash), disk),
        .links = demoLinks(std::make_shared<PosixLinks>(), disk),
        .processes = demoLastingProcesses(
            std::make_shared<PosixLastingProcesses>(std::make_shared<ThreadTasks>()), disk),
        .authentication = std::make_shared<NoAuthentication>(),
        .administrator = demoAdministrator(processes, disk),
        .tasks = std::make_shared<ThreadTasks>(),
    };
}

}  // namespace vestigo
