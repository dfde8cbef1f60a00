#include "ui/widgets/choice_box.h"

#include <QAbstractItemView>
#include <QAccessibleWidget>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QStylePainter>
#include <QWheelEvent>

namespace vestigo {
namespace {

/// Room on both sides of the text for glyphs that are wider than their advance, in points.
constexpr int textMargin = 1;

/// Qt's own interface would report the chosen text as the name of the box. This one reports it as
/// the value, and also as text content, from which screen readers on Linux read a value.
class AccessibleChoice : public QAccessibleWidget, public QAccessibleTextInterface {
public:
    explicit AccessibleChoice(ChoiceBox& box)
        : QAccessibleWidget(&box, QAccessible::ComboBox), box_(box) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::TextInterface) return static_cast<QAccessibleTextInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Value ? box_.currentText() : QAccessibleWidget::text(kind);
    }
    QAccessible::State state() const override {
        auto state = QAccessibleWidget::state();
        state.expandable = true;
        state.expanded = isOpen();
        state.collapsed = !isOpen();
        state.hasPopup = true;
        return state;
    }
    int childCount() const override { return 1; }
    QAccessibleInterface* child(int number) const override {
        return number == 0 ? QAccessible::queryAccessibleInterface(box_.view()) : nullptr;
    }
    int indexOfChild(const QAccessibleInterface* part) const override {
        return part && part->object() == box_.view() ? 0 : -1;
    }
    QAccessibleInterface* childAt(int x, int y) const override {
        auto* const list = child(0);
        return isOpen() && list->rect().contains(x, y) ? list : nullptr;
    }
    QStringList actionNames() const override { return {showMenuAction(), pressAction()}; }
    void doAction(const QString& name) override {
        if (!actionNames().contains(name) || !box_.isEnabled()) return;
        isOpen() ? box_.hidePopup() : box_.showPopup();
    }

    QString text(int start, int end) const override {
        return box_.currentText().mid(start, end < 0 ? -1 : end - start);
    }
    int characterCount() const override { return static_cast<int>(box_.currentText().size()); }
    QRect characterRect(int) const override { return rect(); }
    int offsetAtPoint(const QPoint&) const override { return -1; }
    int selectionCount() const override { return 0; }
    void selection(int, int* start, int* end) const override { *start = *end = 0; }
    void addSelection(int, int) override {}
    void removeSelection(int) override {}
    void setSelection(int, int, int) override {}
    int cursorPosition() const override { return 0; }
    void setCursorPosition(int) override {}
    void scrollToSubstring(int, int) override {}
    QString attributes(int, int* start, int* end) const override {
        *start = 0;
        *end = characterCount();
        return {};
    }

private:
    bool isOpen() const { return box_.view()->isVisible(); }

    ChoiceBox& box_;
};

QAccessibleInterface* interfaceFor(const QString&, QObject* object) {
    auto* const box = qobject_cast<ChoiceBox*>(object);
    return box ? new AccessibleChoice(*box) : nullptr;
}

}  // namespace

ChoiceBox::ChoiceBox(const QString& name, QWidget* parent) : QComboBox(parent) {
    QAccessible::installFactory(interfaceFor);  // Qt ignores a factory that it already has.
    setAccessibleName(name);
    setFocusPolicy(Qt::StrongFocus);  // The wheel does not give it the focus.
    view()->setAccessibleName(name);
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

/// Makes the pop-up wide enough for its longest text, even if the box is narrower.
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
