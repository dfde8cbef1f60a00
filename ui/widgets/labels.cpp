#include "ui/widgets/labels.h"

#include <QApplication>
#include <QEvent>
#include <QPainter>
#include <QStringList>

#include "ui/widgets/symbols.h"
#include "ui/widgets/text.h"
#include "ui/widgets/theme.h"

namespace vestigo {

TintedLabel::TintedLabel(Tint tint, QWidget* parent) : QLabel(parent), tint_(tint) {
    setTextFormat(Qt::PlainText);
}

void TintedLabel::setElision(Qt::TextElideMode elision) {
    elision_ = elision;
    update();
}

/// A layout may shrink the label until only the ellipsis is left.
QSize TintedLabel::minimumSizeHint() const {
    return {fontMetrics().horizontalAdvance(QChar(0x2026)), fontMetrics().height()};
}

/// QLabel would cut off a text that does not fit. The colour is looked up at each painting, so it
/// follows a change of the palette.
void TintedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(colorOf(tint_, palette()));
    painter.drawText(rect(), Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine,
                     fontMetrics().elidedText(oneLine(text()), elision_, width()));
}

SymbolLabel::SymbolLabel(Symbol symbol, Tint tint, int side, QWidget* parent)
    : QWidget(parent), symbol_(symbol), tint_(tint) {
    setFixedSize(side, side);
}

void SymbolLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    drawSymbol(painter, rect(), symbol_, colorOf(tint_, palette()));
}

SheetText::SheetText(const QString& text, const QFont& font, Tint tint, int width, QWidget* parent)
    : QLabel(parent), tint_(tint) {
    setTextFormat(Qt::PlainText);
    setFont(font);
    setWordWrap(true);
    setFixedWidth(width);
    setText(text);
    applyTint();
}

void SheetText::setEmphasised(std::string_view text) {
    setTextFormat(Qt::RichText);
    setText(emphasised(text));
}

void SheetText::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) applyTint();
}

/// Sets this one colour only. All others then follow the application's palette, and a change of
/// that is reported by PaletteChange.
void SheetText::applyTint() {
    QPalette own;
    own.setColor(QPalette::WindowText, colorOf(tint_, QApplication::palette()));
    setPalette(own);
}

QString emphasised(std::string_view text) {
    QString html;
    bool bold = false;  // The parts between the marks are plain and bold in turn.
    for (const auto& part : toQString(text).split(QStringLiteral("**"))) {
        const auto safe = part.toHtmlEscaped();
        html += bold ? QStringLiteral("<b>%1</b>").arg(safe) : safe;
        bold = !bold;
    }
    return html;
}

QPalette tintedGround(QPalette palette, double share) {
    const auto mixed = [share](int ground, int text) {
        return ground + static_cast<int>((text - ground) * share);
    };
    palette.setResolveMask(0);  // All other colours go on following the application's palette.
    const auto ground = palette.color(QPalette::Window);
    const auto text = palette.color(QPalette::WindowText);
    palette.setColor(QPalette::Base,
                     QColor(mixed(ground.red(), text.red()), mixed(ground.green(), text.green()),
                            mixed(ground.blue(), text.blue())));
    return palette;
}

}  // namespace vestigo
