// The sheet that explains the architectures and the values of the Fix column.
#pragma once

#include <QScrollArea>

#include "ui/model/content_view.h"
#include "ui/sheets/sheet.h"

namespace vestigo {

class HelpSheet : public Sheet {
    Q_OBJECT
public:
    HelpSheet(ContentView& content, QWidget* window);

private:
    QScrollArea& addPages();
};

}  // namespace vestigo
