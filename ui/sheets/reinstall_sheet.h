// The sheet that reinstalls one Homebrew formula as its native build and then offers to remove the
// old Intel copy.
#pragma once

#include <QPushButton>
#include <QWidget>
#include <vector>

#include "ui/model/content_view.h"
#include "ui/sheets/sheet.h"
#include "ui/widgets/labels.h"
#include "ui/widgets/log_view.h"

namespace vestigo {

class ReinstallSheet : public Sheet {
    Q_OBJECT
public:
    ReinstallSheet(ContentView& content, QWidget* window);

    void refresh(const Changes& changes) override;

private:
    void addTexts();
    void addCommand();
    void addLog();
    void addRemoval();
    void addButtons();
    void showTarget();
    void showProgress();
    void showLog();
    void showRemoval();

    ContentView& content_;
    SheetText* formula_ = nullptr;
    QLabel* command_ = nullptr;
    LogView* log_ = nullptr;
    TintedLabel* oldCopy_ = nullptr;
    std::vector<QWidget*> removal_;   ///< Visible when there is an old copy to remove.
    std::vector<QWidget*> progress_;  ///< Visible while a reinstall runs.
    QPushButton* run_ = nullptr;
};

}  // namespace vestigo
