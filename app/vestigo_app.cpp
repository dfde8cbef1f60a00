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

/// Nobody may be there to read a message, as at the end of a session.
constexpr std::chrono::seconds messageTime{15};

}  // namespace

/// Where a signal finds the application, as long as there is one, and what may keep the program
/// from ending after that.
struct VestigoApp::SignalTarget {
    std::mutex mutex;
    VestigoApp* app;
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
    // There a program goes on without windows.
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
        if (const auto text = window->content().runningReinstallNotice()) tell(toQString(*text));
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
            if (!target->app) return true;  // It is ending already.
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
    message_->setObjectName(QStringLiteral("runningReinstallNotice"));
    message_->setTextFormat(Qt::PlainText);
    message_->setAttribute(Qt::WA_DeleteOnClose);
    QTimer::singleShot(messageTime, message_, &QDialog::accept);
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
