// vestigo is the program with the window.

#include <utility>

#include "app/appearance.h"
#include "app/command_line.h"
#include "app/lasting_application.h"
#include "app/update_feed.h"
#include "app/vestigo_app.h"
#include "app/window_services.h"
#include "platform/qt/assistive_technology.h"
#include "ui/widgets/symbols.h"

namespace {

constexpr auto programName = "vestigo";

constexpr auto helpText =
    R"(Usage: vestigo

Opens a window that finds programs that an Apple Silicon Mac cannot run natively
(Intel, PowerPC), says who made them and what to do about each, and removes or
replaces them. vestigo-scan scans without a window.

  -h, --help     print this text
  -V, --version  print the version
)";

}  // namespace

int main(int argc, char** argv) {
    if (const auto status = vestigo::answerCommandLine(argc, argv, programName, helpText)) {
        return *status;
    }
    vestigo::LastingApplication application(argc, argv);
#ifndef Q_OS_MACOS
    // macOS adds arguments of its own, for example when a debugger starts the program.
    if (vestigo::refusesArguments(argc, argv, programName)) return 2;
#endif
    QApplication::setApplicationName(QStringLiteral("Vestigo"));
    QApplication::setApplicationVersion(QStringLiteral(VESTIGO_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("vestigo"));
#ifndef Q_OS_MACOS
    // On macOS the icon comes from the bundle, in the sizes and shape that the system wants.
    QApplication::setWindowIcon(vestigo::applicationIcon());
#endif
    const vestigo::DesktopAppearance appearance;
    const vestigo::AtSpiTables tables;
    auto platform = vestigo::systemPlatformServices();
    application.setOutOfMemoryReport(vestigo::outOfMemoryReport(platform.notifications));
    vestigo::VestigoApp app(vestigo::windowServices(std::move(platform)),
                            vestigo::updaterOfThisBuild(), VESTIGO_VERSION);
    app.endAtSignals();
    app.openWindow();
    return QApplication::exec();
}
