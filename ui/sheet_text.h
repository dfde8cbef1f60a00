// Text on a sheet.
#pragma once

#include <QLabel>
#include <string_view>

#include "ui/cell_content.h"

namespace vestigo {

/// As many lines as the text needs at a fixed width, in one of the window's tints, which follows
/// the appearance.
class SheetText : public QLabel {
    Q_OBJECT
public:
    /// Plain text; only `setEmphasised` gives it marks.
    SheetText(const QString& text, const QFont& font, Tint tint, int width,
              QWidget* parent = nullptr);

    /// UTF-8, in which two asterisks stand before and after what is bold.
    void setEmphasised(std::string_view text);

protected:
    void changeEvent(QEvent* event) override;

private:
    void takeTint();

    Tint tint_;
};

/// As HTML; whatever looks like a tag in the text stays text.
[[nodiscard]] QString emphasised(std::string_view text);

/// A palette whose ground is tinted this far with the text's colour, from 0 to 1.
[[nodiscard]] QPalette tintedGround(QPalette palette, double share);

}  // namespace vestigo
