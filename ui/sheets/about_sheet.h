// The sheet that shows the program's name and version and warns of what it can do.
#pragma once

#include <string>

#include "ui/model/content_view.h"
#include "ui/sheets/sheet.h"

namespace vestigo {

class AboutSheet : public Sheet {
    Q_OBJECT
public:
    /// With an empty `version` the sheet shows "1.0".
    AboutSheet(ContentView& content, const std::string& version, QWidget* window);

private:
    void addIcon();
    void addCentred(const QString& text, const QFont& font, Tint tint = Tint::primary);
};

}  // namespace vestigo
