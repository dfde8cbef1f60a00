// The main window: toolbar, results table, status bar and sheets over one model.
#pragma once

#include <QMainWindow>
#include <memory>
#include <string>

#include "platform/desktop.h"
#include "ui/model/content_view.h"
#include "ui/sheets/sheets.h"
#include "ui/status_bar.h"
#include "ui/table/results_view.h"
#include "ui/toolbar.h"
#include "ui/widgets/refresher.h"

namespace vestigo {

/// Owns its model, and through it a Scanner. It deletes itself when it is closed, which also stops
/// a running scan. Return starts a scan, unless the focused widget handles the key; except on a
/// Mac, Return on a focused button presses that button. The caller adds the menu bar.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    /// `version` is shown in the About sheet.
    MainWindow(ContentServices services, std::string version, QWidget* parent = nullptr);
    ~MainWindow() override;

    [[nodiscard]] ContentView& content() { return content_; }

signals:
    /// Emitted when the user or the system has closed the window.
    void closed();

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void stack();
    void sizeToScreen();
    void refresh(const Changes& changes);

    // The widgets are members declared after the model, so that they are destroyed before it. The
    // base class would destroy them after it.
    /// Stands before the widgets: Qt keeps the first interface that assistive technology is given
    /// for a widget, and a running screen reader asks while the widget is being made.
    struct AccessibleWidgets {
        AccessibleWidgets();
    };

    AccessibleWidgets accessibleWidgets_;
    std::shared_ptr<Desktop> desktop_;
    ContentView content_;
    Refresher refresher_;
    QWidget stack_;
    Toolbar& toolbar_;
    ResultsView& results_;
    StatusBar& status_;
    Sheets sheets_;
};

}  // namespace vestigo
