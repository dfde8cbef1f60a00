// vestigo-demo shows the program at work on a made-up Mac disk, for machines that have no real one.
// Without a screen it prints the results as CSV instead of opening a window.

#include <QApplication>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "app/appearance.h"
#include "app/command_line.h"
#include "app/vestigo_app.h"
#include "cli/scan_session.h"
#include "demo/demo_sandbox.h"
#include "demo/demo_services.h"
#include "demo/demo_tree.h"
#include "engine/scan_rules.h"
#include "persist/signature_inspector.h"
#include "platform/linux/linux_code_signing.h"
#include "platform/linux/linux_directory_reader.h"
#include "platform/posix/thread_tasks.h"
#include "platform/qt/assistive_technology.h"
#include "platform/terminal.h"
#include "ui/widgets/symbols.h"

namespace vestigo {
namespace {

constexpr auto programName = "vestigo-demo";

constexpr auto helpText =
    R"(Usage: vestigo-demo

Shows Vestigo at work on a made-up Mac disk, which it makes in a temporary folder
and removes at the end: in the window where there is a screen, else as CSV.
Nothing outside of that folder is touched, but for the files you export.

  -h, --help     print this text
  -V, --version  print the version
)";

ScanSessionServices servicesFor(const std::string& disk, std::shared_ptr<RunLoop> loop) {
    const auto signing = demoCodeSigning(std::make_shared<LinuxCodeSigning>(), disk);
    ScanSessionServices services;
    services.loop = std::move(loop);
    services.background = std::make_shared<ThreadTasks>();
    services.reader = demoDirectoryReader(std::make_shared<LinuxDirectoryReader>(), disk);
    services.inspect = [signing](const std::string& root) {
        return inspectSignature(*signing, root);
    };
    return services;
}

int demonstrateAsText(const std::string& disk) {
    const auto loop = std::make_shared<RunLoop>();
    const auto interrupted = std::make_shared<bool>(false);
    watchForInterrupt([loop, interrupted](int) {
        loop->post([interrupted] { *interrupted = true; });
        return true;
    });
    ScanSession session(servicesFor(disk, loop), {});
    session.run(scanRoots(std::nullopt, Scope::smart, demoHome), false, false, *interrupted);
    const auto text = session.csv();
    const bool written =
        std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    if (!written) return 1;
    return *interrupted ? 130 : 0;
}

int demonstrateInWindow(const std::string& disk) {
    QApplication::setWindowIcon(applicationIcon());
    const DesktopAppearance appearance;
    const AtSpiTables tables;
    std::fprintf(stderr, "Its Trash is the folder %s, until the demonstration ends.\n",
                 demoTrashFolder(disk).c_str());
    VestigoApp app(windowServices(demoPlatformServices(disk)), nullptr, VESTIGO_VERSION);
    app.endAtSignals();
    app.openWindow();
    return QApplication::exec();
}

bool hasScreen() {
    for (const auto* const name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        const auto* const value = std::getenv(name);
        if (value && *value) return true;
    }
    return false;
}

int demonstrate(bool inWindow) {
    const DemoSandbox sandbox;
    if (!sandbox.disk()) {
        std::perror("vestigo-demo: cannot make the demonstration disk");
        return 1;
    }
    std::fprintf(stderr,
                 "A made-up Mac disk in %s stands for \"/\"; nothing of yours is touched.\n",
                 sandbox.disk()->c_str());
    return inWindow ? demonstrateInWindow(*sandbox.disk()) : demonstrateAsText(*sandbox.disk());
}

}  // namespace
}  // namespace vestigo

int main(int argc, char** argv) {
    using namespace vestigo;
    if (const auto status = answerCommandLine(argc, argv, programName, helpText)) return *status;
    if (!hasScreen()) return refusesArguments(argc, argv, programName) ? 2 : demonstrate(false);
    const QApplication application(argc, argv);
    return refusesArguments(argc, argv, programName) ? 2 : demonstrate(true);
}
