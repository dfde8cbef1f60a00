#include "ui/widgets/choice_box.h"

#include <QAbstractItemView>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QStylePainter>
#include <QWheelEvent>

namespace vestigo {
namespace {

/// On either side of the text, for glyphs that reach over their advance.
constexpr int textMargin = 1;

}  // namespace

ChoiceBox::ChoiceBox(const QString& name, QWidget* parent) : QComboBox(parent) {
    setAccessibleName(name);
    setFocusPolicy(Qt::StrongFocus);  // Not by the wheel.
    setSizeAdjustPolicy(QComboBox::AdjustToContents);
    connect(this, &QComboBox::currentIndexChanged, this, &QWidget::updateGeometry);
    connect(this, &QComboBox::activated, this,
            [this](int index) { emit chosen(itemData(index).toInt()); });
}

void ChoiceBox::add(int value, const QString& text) {
    addItem(text, value);
}

void ChoiceBox::setText(int value, const QString& text) {
    const int index = findData(value);
    if (itemText(index) == text) return;
    setItemText(index, text);
    if (view()->isVisible()) makeRoomInPopup();
}

void ChoiceBox::setValue(int value) {
    const int index = findData(value);
    if (index != currentIndex()) setCurrentIndex(index);
}

QSize ChoiceBox::minimumSizeHint() const {
    QStyleOptionComboBox option;
    initStyleOption(&option);
    const int textWidth = fontMetrics().horizontalAdvance(currentText()) + 2 * textMargin;
    const auto least = style()->sizeFromContents(QStyle::CT_ComboBox, &option,
                                                 {textWidth, fontMetrics().height()}, this);
    return least.boundedTo(sizeHint());
}

void ChoiceBox::showPopup() {
    makeRoomInPopup();
    QComboBox::showPopup();
}

/// The box may be narrower than its texts; its pop-up is not.
void ChoiceBox::makeRoomInPopup() {
    const int mark = style()->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, this);
    view()->setMinimumWidth(view()->sizeHintForColumn(0) + mark + 2 * view()->frameWidth());
}

void ChoiceBox::wheelEvent(QWheelEvent* event) {
    if (!hasFocus()) return event->ignore();
    QComboBox::wheelEvent(event);
}

void ChoiceBox::paintEvent(QPaintEvent*) {
    QStylePainter painter(this);
    QStyleOptionComboBox option;
    initStyleOption(&option);
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    const auto field =
        style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    option.currentText = fontMetrics().elidedText(option.currentText, Qt::ElideRight,
                                                  field.width() - 2 * textMargin);
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}

}  // namespace vestigo
