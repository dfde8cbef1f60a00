#include "app/vestigo_app.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>
#include <QTimer>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <utility>

#include "platform/interrupt.h"
#include "ui/text.h"

namespace vestigo {
namespace {

/// Nobody may be there to read a message, as at the end of a session.
constexpr std::chrono::seconds messageTime{15};

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

/// Where a signal finds the application, as long as there is one.
struct VestigoApp::SignalTarget {
    std::mutex mutex;
    VestigoApp* app;
};

VestigoApp::VestigoApp(ContentServices services, std::unique_ptr<Updater> updater,
                       std::string version)
    : services_(std::move(services)),
      updater_(std::move(updater)),
      version_(std::move(version)),
      terminate_(std::exchange(services_.terminate, [this] { quit(); })) {}

VestigoApp::~VestigoApp() {
    if (signalTarget_) {
        const std::lock_guard lock(signalTarget_->mutex);
        signalTarget_->app = nullptr;
    }
    delete message_;
    for (auto* const window : std::exchange(windows_, {})) delete window;
}

MainWindow& VestigoApp::openWindow() {
    auto* const window = new MainWindow(services_, version_);
    windows_.push_back(window);
    connect(window, &MainWindow::closed, this, [this, window] {
        if (const auto text = window->content().whatGoesOn()) tell(shown(*text));
    });
    connect(window, &QObject::destroyed, this, [this, window] { std::erase(windows_, window); });
    addMenus(*window);
    window->show();
    return *window;
}

void VestigoApp::endAtSignals() {
    signalTarget_ = std::make_shared<SignalTarget>();
    signalTarget_->app = this;
    watchForInterrupt(
        [target = signalTarget_](int exitStatus) {
            const std::lock_guard lock(target->mutex);
            if (!target->app) return true;  // It is ending already.
            QMetaObject::invokeMethod(
                target->app, [app = target->app, exitStatus] { app->endAtSignal(exitStatus); },
                Qt::QueuedConnection);
            return true;
        },
        EndingSignals::interruptOrHangUp);
}

void VestigoApp::endAtSignal(int exitStatus) {
    const auto text = whatGoesOn();
    if (!text.isEmpty()) std::fprintf(stderr, "vestigo: %s\n", text.toUtf8().constData());
    QCoreApplication::exit(exitStatus);
}

QString VestigoApp::whatGoesOn() const {
    QStringList lines;
    for (auto* const window : windows_) {
        if (const auto text = window->content().whatGoesOn()) lines << shown(*text);
    }
    return lines.join(QLatin1Char('\n'));
}

void VestigoApp::quit() {
    const auto text = whatGoesOn();
    // Whoever asks again has read the message.
    if (text.isEmpty() || std::exchange(quitting_, true)) return terminate_();
    tell(text);
    connect(message_, &QDialog::finished, this, [this] { terminate_(); });
}

void VestigoApp::tell(const QString& text) {
    const bool shows = message_ && message_->isVisible();
    if (shows) return message_->setText(message_->text() + QLatin1Char('\n') + text);
    // Without a parent it keeps the program from quitting with its last window.
    message_ =
        new QMessageBox(QMessageBox::Information, QStringLiteral("Vestigo"), text, QMessageBox::Ok);
    message_->setObjectName(QStringLiteral("whatGoesOn"));
    message_->setTextFormat(Qt::PlainText);
    message_->setAttribute(Qt::WA_DeleteOnClose);
    QTimer::singleShot(messageTime, message_, &QDialog::accept);
    message_->show();
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
