// The menus: a bar in each window, or, as a Mac has it, one for the whole program.
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

/// Of the system that the program runs on.
[[nodiscard]] MenuStyle systemMenuStyle();

/// What is behind the commands.
struct MenuServices {
    std::function<void()> openWindow;
    std::function<std::vector<MainWindow*>()> windows;  ///< Those that are open, oldest first.
    std::function<void()> showAbout;
    std::function<void()> showHelp;
    std::function<void()> quit;
    Updater* updater = nullptr;  ///< Null: the commands that need one are left out.
};

/// Main thread only.
class Menus : public QObject {
    Q_OBJECT
public:
    Menus(MenuServices services, MenuStyle style);

    /// To be called once for each window. The window gets the actions that its sheets need, too.
    void addTo(MainWindow& window);
    /// The one bar of a Mac's style; null in the other.
    [[nodiscard]] QMenuBar* sharedBar() const { return sharedBar_.get(); }

private:
    /// `window`: what the commands for one window act on; null: the active one.
    void fill(QMenuBar& bar, MainWindow* window);
    void addApplicationMenu(QMenuBar& bar, MainWindow* window);
    void addUpdateCommands(QMenu& menu);
    void addFileMenu(QMenuBar& bar, MainWindow* window);
    void addEditMenu(QMenuBar& bar);
    void addWindowMenu(QMenuBar& bar);
    void listWindows(QMenu& menu);
    void addHelpMenu(QMenuBar& bar);
    /// Null when none is open.
    [[nodiscard]] MainWindow* activeWindow() const;

    MenuServices services_;
    std::unique_ptr<QMenuBar> sharedBar_;
};

}  // namespace vestigo
