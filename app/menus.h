// The menus of the program. There is a bar in each window, or on a Mac one for all windows.
#pragma once

#include <QMenu>
#include <QMenuBar>
#include <QObject>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "platform/updater.h"
#include "ui/main_window.h"

namespace vestigo {

enum class MenuStyle : std::uint8_t { barInEachWindow, mac };

/// The style that is usual on this system.
[[nodiscard]] MenuStyle systemMenuStyle();

/// The functions that the commands call.
struct MenuServices {
    std::function<void()> openWindow;
    std::function<std::vector<MainWindow*>()> windows;  ///< The open windows, oldest first.
    std::function<void()> showAbout;
    std::function<void()> showHelp;
    std::function<void()> quit;
    Updater* updater = nullptr;  ///< When null, the commands for updates are left out.
};

/// `services.updater` must outlive this object. Main thread only.
class Menus : public QObject {
    Q_OBJECT
public:
    Menus(MenuServices services, MenuStyle style);

    /// Gives the window its menus and shortcuts. Must be called once for each window. The commands
    /// that also work in a sheet become actions of the window.
    void addTo(MainWindow& window);
    /// The bar of the style `mac`; null in the other style.
    [[nodiscard]] QMenuBar* sharedBar() const { return sharedBar_.get(); }

private:
    /// The commands for one window act on `window`, or on the active window when that is null.
    void fill(QMenuBar& bar, MainWindow* window);
    void addApplicationMenu(QMenuBar& bar, MainWindow* window);
    void addUpdateCommands(QMenu& menu);
    void addFileMenu(QMenuBar& bar, MainWindow* window);
    void addEditMenu(QMenuBar& bar);
    void addWindowMenu(QMenuBar& bar);
    void listWindows(QMenu& menu);
    void addHelpMenu(QMenuBar& bar);
    /// The window that the user works in; null when none is open.
    [[nodiscard]] MainWindow* activeWindow() const;

    MenuServices services_;
    std::unique_ptr<QMenuBar> sharedBar_;
};

}  // namespace vestigo
