#include "ui/tinted_label.h"

#include <QPainter>

#include "ui/colors.h"
#include "ui/text.h"

namespace vestigo {

TintedLabel::TintedLabel(Tint tint, QWidget* parent) : QLabel(parent), tint_(tint) {
    setTextFormat(Qt::PlainText);
}

void TintedLabel::setElision(Qt::TextElideMode elision) {
    elision_ = elision;
    update();
}

QSize TintedLabel::minimumSizeHint() const {
    return {fontMetrics().horizontalAdvance(QChar(0x2026)), fontMetrics().height()};
}

void TintedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(colorOf(tint_, palette()));
    painter.drawText(rect(), Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine,
                     fontMetrics().elidedText(oneLine(text()), elision_, width()));
}

}  // namespace vestigo
