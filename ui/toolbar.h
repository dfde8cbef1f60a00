// The toolbar at the top of a window.
#pragma once

#include <QBoxLayout>
#include <QCheckBox>
#include <QToolButton>
#include <QWidget>

#include "platform/desktop.h"
#include "ui/model/content_view.h"
#include "ui/widgets/action_button.h"
#include "ui/widgets/choice_box.h"
#include "ui/widgets/refresher.h"

namespace vestigo {

/// Starts and stops scans, chooses what is scanned and shown, removes and exports. "Scan" is drawn
/// as the default button, but the window handles the Return key.
class Toolbar : public QWidget {
    Q_OBJECT
public:
    /// `content` and `desktop` must outlive this object. `desktop` lets the user choose a folder.
    Toolbar(ContentView& content, Desktop& desktop, QWidget* parent = nullptr);

    void refresh(const Changes& changes);

protected:
    bool event(QEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void addScanButtons();
    void addRootControls();
    void addFilters();
    void addSizeChoice();
    void addActions();
    void equaliseSizes();
    void drawBoxClearly();
    void append(QWidget& control, const char* name);

    void chooseFolder();
    void distributeWidth();

    void refreshScanButtons();
    void refreshRoots();
    void refreshFilters();
    void refreshCounts();
    void refreshActions();

    ContentView& content_;
    Desktop& desktop_;
    QHBoxLayout& row_;
    ActionButton& scan_;
    ActionButton& stop_;
    ChoiceBox& scope_;
    ActionButton& folder_;
    QToolButton& clearFolder_;
    QCheckBox& intelOnly_;
    ChoiceBox& categories_;
    ChoiceBox& fixes_;
    ChoiceBox& sizes_;
    ActionButton& moveToTrash_;
    ActionButton& exportCsv_;
};

}  // namespace vestigo
