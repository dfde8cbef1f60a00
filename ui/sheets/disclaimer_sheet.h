// The sheet that the user must accept before using the program.
#pragma once

#include "ui/model/content_view.h"
#include "ui/sheets/sheet.h"

namespace vestigo {

/// It has no close box and ignores Escape; only its two buttons close it.
class DisclaimerSheet : public Sheet {
    Q_OBJECT
public:
    DisclaimerSheet(ContentView& content, QWidget* window);

private:
    void addTitle();
};

}  // namespace vestigo
