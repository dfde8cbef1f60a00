#include "ui/widgets/spinner.h"

#include <QPainter>
#include <QStyle>
#include <QTimerEvent>

#include "ui/widgets/theme.h"

namespace vestigo {
namespace {

constexpr int side = 16;
constexpr int spokes = 12;
constexpr int millisecondsPerSpoke = 83;  // One turn a second.

}  // namespace

Spinner::Spinner(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize Spinner::sizeHint() const {
    return {side, side};
}

void Spinner::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(QRectF(rect()).center());
    painter.rotate(360.0 * step_ / spokes);
    auto color = colorOf(Tint::secondary, palette());
    for (int age = 0; age < spokes; ++age) {
        color.setAlphaF(1.0F - 0.85F * static_cast<float>(age) / (spokes - 1));
        painter.setPen(QPen(color, 1.6, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(QPointF(0, -3.6), QPointF(0, -6.8));
        painter.rotate(-360.0 / spokes);
    }
}

void Spinner::showEvent(QShowEvent*) {
    const bool animated =
        style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this) > 0;
    if (animated) timer_.start(millisecondsPerSpoke, this);
}

void Spinner::hideEvent(QHideEvent*) {
    timer_.stop();
}

void Spinner::timerEvent(QTimerEvent* event) {
    if (event->timerId() != timer_.timerId()) return QWidget::timerEvent(event);
    step_ = (step_ + 1) % spokes;
    update();
}

}  // namespace vestigo
