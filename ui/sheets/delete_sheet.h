// The last question before anything is moved to the Trash.
#pragma once

#include <QWidget>
#include <vector>

#include "ui/model/content_view.h"
#include "ui/sheets/sheet.h"
#include "ui/widgets/path_list.h"

namespace vestigo {

/// Lists what will go, and the leftovers to choose from, which it looks for when it appears.
class DeleteSheet : public Sheet {
    Q_OBJECT
public:
    DeleteSheet(ContentView& content, QWidget* window);

    void refresh(const Changes& changes) override;

private:
    void addLeftovers();
    void addButtons();
    void showGroups();
    void showLeftovers();
    void showChecking();

    ContentView& content_;
    SheetText& summary_;
    PathList& groups_;
    SheetText& leftoversHeading_;
    PathList& leftovers_;
    SheetText& note_;
    std::vector<QWidget*> checking_;  ///< Shown while the removal waits for the looks.
};

}  // namespace vestigo
