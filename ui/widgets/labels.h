// Labels for text and symbols in the tints of the window.
#pragma once

#include <QLabel>
#include <QWidget>
#include <string_view>

#include "ui/model/symbol.h"

namespace vestigo {

/// Shows one line of plain text, shortened with an ellipsis where it does not fit.
class TintedLabel : public QLabel {
    Q_OBJECT
public:
    explicit TintedLabel(Tint tint, QWidget* parent = nullptr);

    /// Sets where the text is shortened; at its end by default.
    void setElision(Qt::TextElideMode elision);

    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Tint tint_;
    Qt::TextElideMode elision_ = Qt::ElideRight;
};

class SymbolLabel : public QWidget {
    Q_OBJECT
public:
    /// The symbol is `side` points high and wide.
    SymbolLabel(Symbol symbol, Tint tint, int side, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Symbol symbol_;
    Tint tint_;
};

/// Shows text of any length at a fixed width, broken into lines.
class SheetText : public QLabel {
    Q_OBJECT
public:
    /// `text` is plain text. `width` is in points.
    SheetText(const QString& text, const QFont& font, Tint tint, int width,
              QWidget* parent = nullptr);

    /// Shows UTF-8 text in which the parts between pairs of asterisks are bold, as in "**arm64**".
    void setEmphasised(std::string_view text);

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyTint();

    Tint tint_;
};

/// Converts such text to HTML. What looks like a tag in it stays text.
[[nodiscard]] QString emphasised(std::string_view text);

/// Returns the palette with `share` (0 to 1) of the text colour mixed into the background.
[[nodiscard]] QPalette tintedGround(QPalette palette, double share);

}  // namespace vestigo
