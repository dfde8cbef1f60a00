// Every binary of one group.
#pragma once

#include <QTextEdit>
#include <optional>

#include "ui/model/content_view.h"
#include "ui/model/inspect_list.h"
#include "ui/sheets/sheet.h"

namespace vestigo {

class InspectSheet : public Sheet {
    Q_OBJECT
public:
    InspectSheet(ContentView& content, QWidget* window);

    /// Follows the findings; where they say the same, the list stays as the user left it.
    void refresh(const Changes& changes) override;

protected:
    void changeEvent(QEvent* event) override;

private:
    void addList();
    void addButtons();
    void show(InspectedBundle bundle);
    void fillList();

    ContentView& content_;
    InspectedBundle bundle_;
    SheetText& title_;
    SheetText& summary_;
    QTextEdit& list_;
};

}  // namespace vestigo
