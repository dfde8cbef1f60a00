// The sheet that asks for confirmation before anything is moved to the Trash.
#pragma once

#include <QWidget>
#include <vector>

#include "ui/model/content_view.h"
#include "ui/sheets/sheet.h"
#include "ui/widgets/path_list.h"

namespace vestigo {

/// Lists the planned groups, and the leftovers with a check box each. The constructor makes the
/// plan anew, which searches the disk for leftovers.
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
    std::vector<QWidget*> checking_;  ///< Visible while the items are being examined.
};

}  // namespace vestigo
