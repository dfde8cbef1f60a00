// A window of the program.
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

/// Owns its model and with it an engine. Deletes itself when closed, also in the middle of a scan,
/// which then ends by itself. Return scans wherever the focus is, unless that is on a button (not
/// on a Mac) or what has it takes the key. The menu bar is left to whoever opens the window.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    /// `version` is what the program says of itself.
    MainWindow(ContentServices services, std::string version, QWidget* parent = nullptr);
    ~MainWindow() override;

    [[nodiscard]] ContentView& content() { return content_; }

signals:
    /// The user, or the system, has closed it.
    void closed();

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void stack();
    void sizeToScreen();
    void refresh(const Changes& changes);

    // What shows the model goes before the model, so it is not left to the base class to delete.
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
