// A program that ends must leave nothing half done, and must say what goes on without it. There are
// three ways to end. The user quits: a running reinstall is reported in a message first, and the
// program ends when the message is closed or its time is up. The last window closes: the message
// has no parent, so the program lasts until it is closed. A signal arrives: nobody may be there to
// answer, so the report goes to standard error and the event loop ends at once.
//
// A signal is handled on a thread of its own, which outlives this object. It shares `SignalTarget`
// with the application; `app` in it is read and cleared under the mutex, and the thread only posts
// an event to it. A question for the administrator's password is withdrawn on that thread, since
// the main thread may be waiting for its answer.
#include "app/vestigo_app.h"

#include <QApplication>
#include <QApplicationStateChangeEvent>
#include <QTimer>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <string_view>
#include <utility>

#include "platform/terminal.h"
#include "ui/widgets/text.h"

namespace vestigo {
namespace {

/// The message closes after this time, as at the end of a session nobody may be there to close it.
constexpr std::chrono::seconds messageTime{15};

}  // namespace

/// Shared with the thread that handles signals.
struct VestigoApp::SignalTarget {
    std::mutex mutex;
    VestigoApp* app;  ///< Guarded by `mutex`; null once the application is being destroyed.
    std::weak_ptr<AdministratorCleanup> cleanup;
};

VestigoApp::VestigoApp(ContentServices services, std::unique_ptr<Updater> updater,
                       std::string version, MenuStyle menuStyle)
    : services_(std::move(services)),
      updater_(std::move(updater)),
      version_(std::move(version)),
      terminate_(std::exchange(services_.terminate, [this] { quit(); })),
      menus_(menuServices(), menuStyle) {
    if (menuStyle != MenuStyle::mac) return;
    // A Mac program keeps running without windows.
    QApplication::setQuitOnLastWindowClosed(false);
    qApp->installEventFilter(this);
}

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
        if (const auto text = window->content().runningReinstallNotice())
            showMessage(toQString(*text));
    });
    connect(window, &QObject::destroyed, this, [this, window] { std::erase(windows_, window); });
    menus_.addTo(*window);
    window->show();
    started_ = true;
    return *window;
}

void VestigoApp::endAtSignals() {
    signalTarget_ = std::make_shared<SignalTarget>();
    signalTarget_->app = this;
    signalTarget_->cleanup = services_.cleanup;
    watchForInterrupt(
        [target = signalTarget_](int exitStatus) {
            if (const auto cleanup = target->cleanup.lock()) cleanup->withdraw();
            const std::lock_guard lock(target->mutex);
            if (!target->app) return true;  // The program is ending already.
            QMetaObject::invokeMethod(
                target->app, [app = target->app, exitStatus] { app->endAtSignal(exitStatus); },
                Qt::QueuedConnection);
            return true;
        },
        EndingSignals::interruptOrHangUp);
}

void VestigoApp::endAtSignal(int exitStatus) {
    const auto text = runningReinstallNotice();
    if (!text.isEmpty()) std::fprintf(stderr, "vestigo: %s\n", text.toUtf8().constData());
    QCoreApplication::exit(exitStatus);
}

QString VestigoApp::runningReinstallNotice() const {
    QStringList lines;
    for (auto* const window : windows_) {
        if (const auto text = window->content().runningReinstallNotice()) lines << toQString(*text);
    }
    return lines.join(QLatin1Char('\n'));
}

void VestigoApp::quit() {
    const auto text = runningReinstallNotice();
    // A user who quits a second time has seen the message and need not wait for it.
    if (text.isEmpty() || std::exchange(quitting_, true)) return terminate_();
    showMessage(text);
    connect(message_, &QDialog::finished, this, [this] { terminate_(); });
}

void VestigoApp::showMessage(const QString& text) {
    const bool shows = message_ && message_->isVisible();
    if (shows) return message_->setText(message_->text() + QLatin1Char('\n') + text);
    // A message without a parent keeps the program running when its last window closes.
    message_ =
        new QMessageBox(QMessageBox::Information, QStringLiteral("Vestigo"), text, QMessageBox::Ok);
    message_->setObjectName(QStringLiteral("runningReinstallNotice"));
    message_->setTextFormat(Qt::PlainText);
    message_->setAttribute(Qt::WA_DeleteOnClose);
    auto* const patience = new QTimer(message_);
    patience->setObjectName(QStringLiteral("patience"));
    connect(patience, &QTimer::timeout, message_, &QDialog::accept);
    patience->start(messageTime);
    message_->show();
}

MenuServices VestigoApp::menuServices() {
    const auto post = [this](std::string_view name) {
        return [this, name] { services_.notifications->post(name); };
    };
    return {.openWindow = [this] { openWindow(); },
            .windows = [this] { return windows_; },
            .showAbout = post(notification::showAbout),
            .showHelp = post(notification::showHelp),
            .quit = [this] { services_.terminate(); },
            .updater = updater_.get()};
}

bool VestigoApp::eventFilter(QObject* object, QEvent* event) {
    const bool mayOpen = object == qApp && started_ && windows_.empty() && !quitting_;
    if (mayOpen && event->type() == QEvent::ApplicationStateChange) {
        const auto state = static_cast<QApplicationStateChangeEvent*>(event)->applicationState();
        if (state == Qt::ApplicationActive) openWindow();
    }
    return QObject::eventFilter(object, event);
}

}  // namespace vestigo
