// The application object: its windows, their menus, and the update service.
#pragma once

#include <QMenu>
#include <QObject>
#include <memory>
#include <string>
#include <vector>

#include "platform/updater.h"
#include "ui/content_view.h"
#include "ui/main_window.h"

namespace vestigo {

/// Main thread only. Closes its windows when it is destroyed.
class VestigoApp : public QObject {
    Q_OBJECT
public:
    /// `services` are what every window's model is made with. `updater` may be null: the commands
    /// that need one are then left out. An empty `version` is one that nobody knows.
    VestigoApp(ContentServices services, std::unique_ptr<Updater> updater, std::string version);
    ~VestigoApp() override;

    /// A new window, shown, with a model and an engine of its own. It deletes itself when closed.
    MainWindow& openWindow();

private:
    void addMenus(MainWindow& window);
    void addApplicationMenu(MainWindow& window);
    void addFileMenu(MainWindow& window);
    void addEditMenu(MainWindow& window);
    void addHelpMenu(MainWindow& window);
    void addUpdateCommands(QMenu& menu);

    ContentServices services_;
    std::unique_ptr<Updater> updater_;
    std::string version_;
    std::vector<MainWindow*> windows_;  ///< Owned; a window that closes deletes itself and leaves.
};

}  // namespace vestigo
