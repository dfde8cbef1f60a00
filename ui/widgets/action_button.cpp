// A style draws the label of a button in one colour and cuts off what does not fit. This button may
// be red and shortens its text in the middle, so it lets the style draw only frame and focus, and
// draws the label itself.
#include "ui/widgets/action_button.h"

#include <QEvent>
#include <QStyle>
#include <QStyleOptionButton>
#include <QStylePainter>
#include <algorithm>

#include "ui/widgets/symbols.h"
#include "ui/widgets/text.h"
#include "ui/widgets/theme.h"

namespace vestigo {
namespace {

constexpr int symbolSize = 16;
constexpr int labelSpacing = 5;
constexpr int labelMargin = 4;  ///< On both sides of the label; a narrow button loses it first.

}  // namespace

ActionButton::ActionButton(std::optional<Symbol> symbol, ButtonRole role, QWidget* parent)
    : QPushButton(parent), symbol_(symbol), role_(role) {
    if (symbol) setIcon(symbolIcon(*symbol));
    setIconSize({symbolSize, symbolSize});
}

void ActionButton::setPlainText(const QString& text) {
    const auto line = oneLine(text);
    if (line == plainText_) return;
    plainText_ = line;
    setText(QString(plainText_).replace(QLatin1Char('&'), QStringLiteral("&&")));
}

QSize ActionButton::sizeHint() const {
    return sizeFor(plainText_).grownBy({labelMargin, 0, labelMargin, 0});
}

QSize ActionButton::minimumSizeHint() const {
    return sizeFor(leastText_.isEmpty() ? plainText_ : leastText_).boundedTo(sizeHint());
}

QSize ActionButton::sizeFor(const QString& text) const {
    QStyleOptionButton option;
    initStyleOption(&option);
    option.text.clear();  // A style makes buttons with a text too wide for the toolbar.
    const QSize label(symbolRoom() + fontMetrics().horizontalAdvance(text),
                      std::max(symbolSize, fontMetrics().height()));
    return style()->sizeFromContents(QStyle::CT_PushButton, &option, label, this);
}

int ActionButton::symbolRoom() const {
    return symbol_ ? symbolSize + labelSpacing : 0;
}

bool ActionButton::isRed() const {
    return role_ == ButtonRole::destructive && isEnabled();
}

void ActionButton::paintEvent(QPaintEvent*) {
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    painter.drawControl(QStyle::CE_PushButtonBevel, option);
    drawLabel(painter, style()->subElementRect(QStyle::SE_PushButtonContents, &option, this));
    if (option.state.testFlag(QStyle::State_HasFocus)) {
        QStyleOptionFocusRect focus;
        focus.QStyleOption::operator=(option);
        focus.rect = style()->subElementRect(QStyle::SE_PushButtonFocusRect, &option, this);
        painter.drawPrimitive(QStyle::PE_FrameFocusRect, focus);
    }
}

void ActionButton::drawLabel(QPainter& painter, const QRect& area) const {
    const auto room = area.width() - symbolRoom();
    const auto text = fontMetrics().elidedText(plainText_, Qt::ElideMiddle, room);
    const auto textWidth = fontMetrics().horizontalAdvance(text);
    const QSize label(symbolRoom() + textWidth, area.height());
    const auto place = QStyle::alignedRect(layoutDirection(), Qt::AlignCenter, label, area);
    const auto part = [&](const QRect& rect) {
        return QStyle::visualRect(layoutDirection(), place, rect);
    };
    const QRect symbolPlace(place.left(), place.center().y() - symbolSize / 2, symbolSize,
                            symbolSize);
    if (symbol_) drawSymbolIn(painter, part(symbolPlace));
    painter.setPen(isRed() ? colorOf(Tint::red, palette()) : palette().color(QPalette::ButtonText));
    painter.drawText(part(place.adjusted(symbolRoom(), 0, 0, 0)),
                     Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text);
}

void ActionButton::drawSymbolIn(QPainter& painter, const QRect& area) const {
    if (isRed()) {
        drawSymbol(painter, area, *symbol_, colorOf(Tint::red, palette()));
    } else {
        icon().paint(&painter, area, Qt::AlignCenter,
                     isEnabled() ? QIcon::Normal : QIcon::Disabled);
    }
}

void ActionButton::changeEvent(QEvent* event) {
    QPushButton::changeEvent(event);
    if (symbol_ && event->type() == QEvent::PaletteChange) setIcon(symbolIcon(*symbol_));
}

}  // namespace vestigo
