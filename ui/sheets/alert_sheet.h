// A message that waits to be read.
#pragma once

#include "ui/model/content_view.h"
#include "ui/sheets/sheet.h"

namespace vestigo {

class AlertSheet : public Sheet {
    Q_OBJECT
public:
    AlertSheet(ContentView& content, QWidget* window);

    /// A later message takes the place of an earlier one.
    void refresh(const Changes& changes) override;

private:
    void showMessage();

    ContentView& content_;
    class MessageArea;
    MessageArea* area_;
};

}  // namespace vestigo
