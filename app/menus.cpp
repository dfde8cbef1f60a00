#include "app/menus.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QKeySequence>
#include <QLineEdit>
#include <QOperatingSystemVersion>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <QWindow>
#include <algorithm>
#include <utility>

namespace vestigo {
namespace {

/// Sends the focused widget a standard key, so that each widget acts as at its own shortcut.
void pressStandardKey(QKeySequence::StandardKey key) {
    auto* const target = QApplication::focusWidget();
    const auto combination = QKeySequence(key)[0];
    if (!target) return;
    for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, combination.key(), combination.keyboardModifiers());
        QApplication::sendEvent(target, &event);
    }
}

template <class Editor>
bool isWritable(QWidget* widget) {
    const auto* const editor = qobject_cast<Editor*>(widget);
    return editor && !editor->isReadOnly();
}

/// True if the focused widget is an editor whose text can be changed.
bool focusIsInEditor() {
    auto* const widget = QApplication::focusWidget();
    return isWritable<QLineEdit>(widget) || isWritable<QTextEdit>(widget) ||
           isWritable<QPlainTextEdit>(widget);
}

QAction* addAction(QMenu& menu, const QString& text, const QList<QKeySequence>& keys = {}) {
    auto* const action = menu.addAction(text);
    action->setShortcuts(keys);
    return action;
}

struct EditCommand {
    const char* text;
    QKeySequence::StandardKey key;
    bool changesText;
};

constexpr EditCommand editCommands[] = {
    {"Undo", QKeySequence::Undo, true},
    {"Cut", QKeySequence::Cut, true},
    {"Copy", QKeySequence::Copy, false},
    {"Paste", QKeySequence::Paste, true},
    {"Select All", QKeySequence::SelectAll, false},
};

/// Returns the open sheet of the window, or null. Of several, returns the one with the keyboard.
QWidget* sheetOf(const QWidget& window) {
    for (auto* const top : {QApplication::activeWindow(), QApplication::activeModalWidget()}) {
        if (top && top->parentWidget() == &window) return top;
    }
    return nullptr;
}

}  // namespace

MenuStyle systemMenuStyle() {
    const auto system = QOperatingSystemVersion::currentType();
    return system == QOperatingSystemVersion::MacOS ? MenuStyle::mac : MenuStyle::barInEachWindow;
}

Menus::Menus(MenuServices services, MenuStyle style) : services_(std::move(services)) {
    if (style != MenuStyle::mac) return;
    // A bar without a parent outlives the last window.
    sharedBar_ = std::make_unique<QMenuBar>();
    fill(*sharedBar_, nullptr);
}

void Menus::addTo(MainWindow& window) {
    if (!sharedBar_) fill(*window.menuBar(), &window);
}

void Menus::fill(QMenuBar& bar, MainWindow* window) {
    addApplicationMenu(bar, window);
    addFileMenu(bar, window);
    addEditMenu(bar);
    if (sharedBar_) addWindowMenu(bar);
    addHelpMenu(bar);
}

MainWindow* Menus::activeWindow() const {
    const auto windows = services_.windows();
    // The active window may be a sheet, whose parent is the window that it belongs to.
    for (auto* widget = QApplication::activeWindow(); widget; widget = widget->parentWidget()) {
        const auto active = std::ranges::find(windows, widget);
        if (active != windows.end()) return *active;
    }
    return windows.empty() ? nullptr : windows.back();
}

void Menus::addApplicationMenu(QMenuBar& bar, MainWindow* window) {
    auto& menu = *bar.addMenu(QStringLiteral("Vestigo"));
    auto* const about = addAction(menu, tr("About Vestigo"));
    about->setMenuRole(QAction::AboutRole);
    connect(about, &QAction::triggered, this, [this] { services_.showAbout(); });
    menu.addSeparator();
    if (services_.updater) addUpdateCommands(menu);
    auto* const quit =
        addAction(menu, tr("Quit Vestigo"), QKeySequence::keyBindings(QKeySequence::Quit));
    quit->setMenuRole(QAction::QuitRole);
    connect(quit, &QAction::triggered, this, [this] { services_.quit(); });
    if (window) window->addAction(quit);
}

void Menus::addUpdateCommands(QMenu& menu) {
    auto* const check = addAction(menu, tr("Check for Updates…"));
    check->setMenuRole(QAction::ApplicationSpecificRole);
    connect(check, &QAction::triggered, this, [this] { services_.updater->checkForUpdates(); });
    auto* const automatically = addAction(menu, tr("Automatically Check for Updates"));
    automatically->setMenuRole(QAction::ApplicationSpecificRole);
    automatically->setCheckable(true);
    connect(automatically, &QAction::triggered, this,
            [this](bool on) { services_.updater->setAutomaticallyChecksForUpdates(on); });
    const auto refresh = [this, automatically] {
        automatically->setChecked(services_.updater->automaticallyChecksForUpdates());
    };
    refresh();
    // The setting may be changed in another window or by the updater itself, so it is read again
    // when the menu opens. On a Mac the system moves these commands to a menu that does not report
    // its opening, so the setting is also read when the focus changes.
    connect(&menu, &QMenu::aboutToShow, automatically, refresh);
    connect(qApp, &QGuiApplication::focusWindowChanged, automatically, refresh);
    menu.addSeparator();
}

void Menus::addFileMenu(QMenuBar& bar, MainWindow* window) {
    auto& menu = *bar.addMenu(tr("&File"));
    auto* const open =
        addAction(menu, tr("New Window"), QKeySequence::keyBindings(QKeySequence::New));
    connect(open, &QAction::triggered, this, [this] { services_.openWindow(); });
    auto* const close =
        addAction(menu, tr("Close"), QKeySequence::keyBindings(QKeySequence::Close));
    connect(close, &QAction::triggered, this, [this, window] {
        auto* const closed = window ? window : activeWindow();
        if (!closed) return;
        auto* const sheet = sheetOf(*closed);
        if (!sheet) closed->close();
        // On a Mac, Close does nothing while a sheet is open.
        if (sheet && !sharedBar_) sheet->close();
    });
    if (window) window->addActions({open, close});
}

void Menus::addEditMenu(QMenuBar& bar) {
    auto& menu = *bar.addMenu(tr("&Edit"));
    for (const auto& [text, key, changesText] : editCommands) {
        // Only a Mac's Edit menu is expected to serve text fields, of which there are few.
        if (changesText && !sharedBar_) continue;
        auto* const action = addAction(menu, tr(text), QKeySequence::keyBindings(key));
        // The menu only shows these keys. The widgets handle them, and a shortcut of the menu would
        // take the keys from them.
        action->setShortcutContext(Qt::WidgetShortcut);
        connect(action, &QAction::triggered, this, [key = key] { pressStandardKey(key); });
        if (!changesText) continue;
        action->setEnabled(false);
        connect(qApp, &QApplication::focusChanged, action,
                [action] { action->setEnabled(focusIsInEditor()); });
    }
}

void Menus::addWindowMenu(QMenuBar& bar) {
    auto& menu = *bar.addMenu(tr("&Window"));
    auto* const minimise = addAction(menu, tr("Minimize"), {Qt::CTRL | Qt::Key_M});
    connect(minimise, &QAction::triggered, this, [this] {
        if (auto* const window = activeWindow()) window->showMinimized();
    });
    auto* const zoom = addAction(menu, tr("Zoom"));
    connect(zoom, &QAction::triggered, this, [this] {
        auto* const window = activeWindow();
        if (window) window->setWindowState(window->windowState() ^ Qt::WindowMaximized);
    });
    menu.addSeparator();
    connect(&menu, &QMenu::aboutToShow, this, [this, &menu, first = menu.actions().size()] {
        const auto actions = menu.actions();
        for (auto i = first; i < actions.size(); ++i) delete actions[i];
        listWindows(menu);
    });
}

void Menus::listWindows(QMenu& menu) {
    for (auto* const window : services_.windows()) {
        auto* const action = addAction(menu, window->windowTitle());
        action->setCheckable(true);
        action->setChecked(window == activeWindow());
        // The window is the context, as it may close while the menu is open.
        connect(action, &QAction::triggered, window, [window] {
            window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
            window->raise();
            window->activateWindow();
        });
    }
}

void Menus::addHelpMenu(QMenuBar& bar) {
    auto& menu = *bar.addMenu(tr("&Help"));
    auto* const help =
        addAction(menu, tr("Vestigo Help"),
                  {QKeySequence(Qt::CTRL | Qt::Key_Question), QKeySequence(Qt::Key_F1)});
    connect(help, &QAction::triggered, this, [this] { services_.showHelp(); });
}

}  // namespace vestigo
