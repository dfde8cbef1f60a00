// The application object: its windows, their menus, and the update service.
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

/// Main thread only. Closes its windows when it is destroyed. When a window is closed or the
/// program quits, the user is told in words what goes on without it. In a Mac's style the program
/// goes on without windows, with its menus, and opens one when someone comes back to it.
class VestigoApp : public QObject {
    Q_OBJECT
public:
    /// `services` are what every window's model is made with. `updater` may be null: the commands
    /// that need one are then left out. An empty `version` is one that nobody knows.
    VestigoApp(ContentServices services, std::unique_ptr<Updater> updater, std::string version,
               MenuStyle menuStyle = systemMenuStyle());
    ~VestigoApp() override;

    /// A new window, shown, with a model and an engine of its own. It deletes itself when closed.
    MainWindow& openWindow();

    /// From now on SIGINT, SIGTERM and SIGHUP end the event loop, and the program goes through its
    /// usual end, which waits for what is being saved; the exit status is 128 + the signal. An open
    /// question for an administrator is withdrawn, also when the program is ending already. What
    /// goes on without the program is said on the standard error. A second signal ends it at once.
    /// To be called once.
    void endAtSignals();

    [[nodiscard]] const Menus& menus() const { return menus_; }
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    [[nodiscard]] MenuServices menuServices();
    /// What goes on without the windows that are open; empty: nothing.
    [[nodiscard]] QString runningReinstallNotice() const;
    /// Shows a message until it has been read, but not for long.
    void tell(const QString& text);
    void quit();
    void endAtSignal(int exitStatus);

    ContentServices services_;
    std::unique_ptr<Updater> updater_;
    std::string version_;
    std::function<void()> terminate_;
    bool quitting_ = false;
    QPointer<QMessageBox> message_;  ///< Owned; deletes itself when it has been read.
    struct SignalTarget;
    std::shared_ptr<SignalTarget> signalTarget_;
    std::vector<MainWindow*> windows_;  ///< Owned; a window that closes deletes itself and leaves.
    bool started_ = false;              ///< There has been a window.
    Menus menus_;
};

}  // namespace vestigo
