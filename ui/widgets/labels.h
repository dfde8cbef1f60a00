// A line of text in one of the window's tints.
#pragma once

#include <QLabel>
#include <QWidget>
#include <string_view>

#include "ui/model/symbol.h"

namespace vestigo {

/// One line of plain text; what does not fit gives way to an ellipsis.
class TintedLabel : public QLabel {
    Q_OBJECT
public:
    explicit TintedLabel(Tint tint, QWidget* parent = nullptr);

    /// Where the ellipsis stands; at the end unless told otherwise.
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
    /// `side` points high and wide.
    SymbolLabel(Symbol symbol, Tint tint, int side, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Symbol symbol_;
    Tint tint_;
};

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
    void applyTint();

    Tint tint_;
};

/// As HTML; whatever looks like a tag in the text stays text.
[[nodiscard]] QString emphasised(std::string_view text);

/// A palette whose ground is tinted this far with the text's colour, from 0 to 1.
[[nodiscard]] QPalette tintedGround(QPalette palette, double share);

}  // namespace vestigo
