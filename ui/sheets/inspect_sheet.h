// The sheet that lists every binary of one group.
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

    /// Lists the binaries again if they have changed; else keeps scroll position and text
    /// selection.
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
