#include "app/vestigo_app.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>
#include <utility>

namespace vestigo {
namespace {

/// Lets the focused widget do what it does at a standard key.
void pressStandardKey(QKeySequence::StandardKey key) {
    auto* const target = QApplication::focusWidget();
    const auto combination = QKeySequence(key)[0];
    if (!target) return;
    for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, combination.key(), combination.keyboardModifiers());
        QApplication::sendEvent(target, &event);
    }
}

QAction* addAction(QMenu& menu, const QString& text, const QList<QKeySequence>& keys = {}) {
    auto* const action = menu.addAction(text);
    action->setShortcuts(keys);
    return action;
}

}  // namespace

VestigoApp::VestigoApp(ContentServices services, std::unique_ptr<Updater> updater,
                       std::string version)
    : services_(std::move(services)), updater_(std::move(updater)), version_(std::move(version)) {}

VestigoApp::~VestigoApp() {
    for (auto* const window : std::exchange(windows_, {})) delete window;
}

MainWindow& VestigoApp::openWindow() {
    auto* const window = new MainWindow(services_, version_);
    windows_.push_back(window);
    connect(window, &QObject::destroyed, this, [this, window] { std::erase(windows_, window); });
    addMenus(*window);
    window->show();
    return *window;
}

void VestigoApp::addMenus(MainWindow& window) {
    addApplicationMenu(window);
    addFileMenu(window);
    addEditMenu(window);
    addHelpMenu(window);
}

void VestigoApp::addApplicationMenu(MainWindow& window) {
    auto& menu = *window.menuBar()->addMenu(QStringLiteral("Vestigo"));
    auto* const about = addAction(menu, QStringLiteral("About Vestigo"));
    about->setMenuRole(QAction::AboutRole);
    connect(about, &QAction::triggered, this,
            [this] { services_.notifications->post(notification::showAbout); });
    menu.addSeparator();
    if (updater_) addUpdateCommands(menu);
    auto* const quit = addAction(menu, QStringLiteral("Quit Vestigo"),
                                 QKeySequence::keyBindings(QKeySequence::Quit));
    quit->setMenuRole(QAction::QuitRole);
    connect(quit, &QAction::triggered, this, [this] { services_.terminate(); });
}

void VestigoApp::addUpdateCommands(QMenu& menu) {
    auto* const check = addAction(menu, QStringLiteral("Check for Updates…"));
    check->setMenuRole(QAction::ApplicationSpecificRole);
    connect(check, &QAction::triggered, this, [this] { updater_->checkForUpdates(); });
    auto* const automatically = addAction(menu, QStringLiteral("Automatically Check for Updates"));
    automatically->setMenuRole(QAction::ApplicationSpecificRole);
    automatically->setCheckable(true);
    automatically->setChecked(updater_->automaticallyChecksForUpdates());
    connect(automatically, &QAction::triggered, this,
            [this](bool on) { updater_->setAutomaticallyChecksForUpdates(on); });
    // Another window may have changed it.
    connect(&menu, &QMenu::aboutToShow, automatically, [this, automatically] {
        automatically->setChecked(updater_->automaticallyChecksForUpdates());
    });
    menu.addSeparator();
}

void VestigoApp::addFileMenu(MainWindow& window) {
    auto& menu = *window.menuBar()->addMenu(QStringLiteral("&File"));
    auto* const open =
        addAction(menu, QStringLiteral("New Window"), QKeySequence::keyBindings(QKeySequence::New));
    connect(open, &QAction::triggered, this, [this] { openWindow(); });
    auto* const close =
        addAction(menu, QStringLiteral("Close"), QKeySequence::keyBindings(QKeySequence::Close));
    connect(close, &QAction::triggered, &window, &QWidget::close);
}

void VestigoApp::addEditMenu(MainWindow& window) {
    auto& menu = *window.menuBar()->addMenu(QStringLiteral("&Edit"));
    for (const auto& [text, key] :
         {std::pair(QStringLiteral("Copy"), QKeySequence::Copy),
          std::pair(QStringLiteral("Select All"), QKeySequence::SelectAll)}) {
        auto* const action = addAction(menu, text, QKeySequence::keyBindings(key));
        // Named only: the widgets know these keys themselves.
        action->setShortcutContext(Qt::WidgetShortcut);
        connect(action, &QAction::triggered, &window, [key = key] { pressStandardKey(key); });
    }
}

void VestigoApp::addHelpMenu(MainWindow& window) {
    auto& menu = *window.menuBar()->addMenu(QStringLiteral("&Help"));
    auto* const help =
        addAction(menu, QStringLiteral("Vestigo Help"),
                  {QKeySequence(Qt::CTRL | Qt::Key_Question), QKeySequence(Qt::Key_F1)});
    connect(help, &QAction::triggered, this,
            [this] { services_.notifications->post(notification::showHelp); });
}

}  // namespace vestigo
