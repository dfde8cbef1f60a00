// The sheet that shows a message until the user dismisses it.
#pragma once

#include "ui/model/content_view.h"
#include "ui/sheets/sheet.h"

namespace vestigo {

class AlertSheet : public Sheet {
    Q_OBJECT
public:
    AlertSheet(ContentView& content, QWidget* window);

    /// Shows a later message in place of the earlier one.
    void refresh(const Changes& changes) override;

private:
    void showMessage();

    ContentView& content_;
    class MessageArea;
    MessageArea* area_;
};

}  // namespace vestigo
