// What the program is, and the warning that goes with it.
#pragma once

#include <string>

#include "ui/model/content_view.h"
#include "ui/sheets/sheet.h"

namespace vestigo {

class AboutSheet : public Sheet {
    Q_OBJECT
public:
    /// An empty `version` is one that nobody knows.
    AboutSheet(ContentView& content, const std::string& version, QWidget* window);

private:
    void addIcon();
    void addCentred(const QString& text, const QFont& font, Tint tint = Tint::primary);
};

}  // namespace vestigo
