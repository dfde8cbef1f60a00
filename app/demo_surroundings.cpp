#include "app/demo_surroundings.h"

#include <memory>
#include <utility>

#include "app/demo_disk.h"
#include "app/demo_tree.h"
#include "engine/scan_rules.h"
#include "platform/linux/linux_code_signing.h"
#include "platform/linux/linux_directory_reader.h"
#include "platform/linux/linux_files.h"
#include "platform/qt/qt_desktop.h"
#include "platform/qt/qt_preferences.h"

namespace vestigo {
namespace {

/// Between paths on the disk and where they really are.
class DemoDesktop : public Desktop {
public:
    DemoDesktop(std::unique_ptr<Desktop> real, std::string disk)
        : real_(std::move(real)), disk_(std::move(disk)) {}

    void reveal(const std::string& path) override { real_->reveal(disk_ + path); }
    void copyText(const std::string& text) override { real_->copyText(text); }
    std::optional<std::string> chooseFolder() override {
        const auto chosen = real_->chooseFolder();
        // There is nothing else in this world.
        if (!chosen || !liesUnder(*chosen, disk_)) return std::nullopt;
        return *chosen == disk_ ? "/" : chosen->substr(disk_.size());
    }
    std::optional<std::string> chooseCsvFile(const std::string& name) override {
        return real_->chooseCsvFile(name);
    }

private:
    std::unique_ptr<Desktop> real_;
    std::string disk_;
};

}  // namespace

Surroundings demoSurroundings(const std::string& disk) {
    const auto library = disk + demoHome + "/Library";
    static_cast<void>(LinuxFiles().createFolders(library + "/Preferences"));
    return {
        .folders = {.home = demoHome,
                    .applicationSupport = library + "/Application Support",
                    .temporary = disk + "/private/tmp"},
        .preferences = QtPreferences::inFile(library + "/Preferences/vestigo.ini"),
        .previousPreferences = {},
        .reader = demoDirectoryReader(std::make_shared<LinuxDirectoryReader>(), disk),
        .signing = demoCodeSigning(std::make_shared<LinuxCodeSigning>(), disk),
        .desktop = std::make_shared<DemoDesktop>(std::make_unique<QtDesktop>(), disk),
    };
}

}  // namespace vestigo
