// The application: its windows, their menus, and the update service.
#pragma once

#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/menus.h"
#include "platform/updater.h"
#include "ui/main_window.h"
#include "ui/model/content_view.h"

namespace vestigo {

/// Deletes its windows when it is destroyed. When a window closes or the program quits while a
/// reinstall runs, a message tells the user that it goes on. In the menu style `mac`, the program
/// keeps running without windows and opens one when it becomes active again. Main thread only.
class VestigoApp : public QObject {
    Q_OBJECT
public:
    /// Every window's model is made with `services`. `updater` may be null; the menus then have no
    /// commands for updates. `version` may be empty when it is not known.
    VestigoApp(ContentServices services, std::unique_ptr<Updater> updater, std::string version,
               MenuStyle menuStyle = systemMenuStyle());
    ~VestigoApp() override;

    /// Opens and shows a window with a model and a Scanner of its own. It deletes itself when
    /// closed.
    MainWindow& openWindow();

    /// From now on, SIGINT, SIGTERM and SIGHUP end the event loop. The program then ends as usual
    /// and waits for what is being saved; the exit status is 128 + the signal. An open question for
    /// an administrator's password is withdrawn, even if the program is ending already. A reinstall
    /// that goes on is reported on standard error. A second signal ends the program at once. Must
    /// be called at most once.
    void endAtSignals();

    [[nodiscard]] const Menus& menus() const { return menus_; }
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    [[nodiscard]] MenuServices menuServices();
    /// Tells about the reinstalls that the open windows follow. Empty when none is running.
    [[nodiscard]] QString runningReinstallNotice() const;
    /// Shows a message until the user closes it, at most for 15 seconds.
    void showMessage(const QString& text);
    void quit();
    void endAtSignal(int exitStatus);

    ContentServices services_;
    std::unique_ptr<Updater> updater_;
    std::string version_;
    std::function<void()> terminate_;
    bool quitting_ = false;
    QPointer<QMessageBox> message_;  ///< Owned; deletes itself when it closes.
    struct SignalTarget;
    std::shared_ptr<SignalTarget> signalTarget_;
    std::vector<MainWindow*> windows_;  ///< Owned; a closed window deletes itself.
    bool started_ = false;              ///< A window has been opened.
    Menus menus_;
};

}  // namespace vestigo
