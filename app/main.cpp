// vestigo: the desktop program.

#include <QApplication>
#include <memory>

#include "app/appearance.h"
#include "app/update_feed.h"
#include "app/vestigo_app.h"
#include "app/window_services.h"
#include "ui/symbols.h"

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vestigo"));
    QApplication::setApplicationVersion(QStringLiteral(VESTIGO_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("vestigo"));
    QApplication::setWindowIcon(vestigo::applicationIcon());
    const vestigo::DesktopAppearance appearance;
    vestigo::VestigoApp app(vestigo::windowServices(vestigo::systemSurroundings()),
                            vestigo::updaterOfThisBuild(), VESTIGO_VERSION);
    app.endAtSignals();
    app.openWindow();
    return QApplication::exec();
}
