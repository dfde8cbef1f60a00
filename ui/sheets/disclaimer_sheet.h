// What must be accepted before the program is used.
#pragma once

#include "ui/model/content_view.h"
#include "ui/sheets/sheet.h"

namespace vestigo {

/// Only its two buttons lead out of it.
class DisclaimerSheet : public Sheet {
    Q_OBJECT
public:
    DisclaimerSheet(ContentView& content, QWidget* window);

private:
    void addTitle();
};

}  // namespace vestigo
