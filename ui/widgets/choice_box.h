// A combo box whose items stand for values.
#pragma once

#include <QComboBox>
#include <QString>

namespace vestigo {

/// Each item has an int value, different from that of every other item. Its texts may change at any
/// time, even while the pop-up is open. A text that does not fit is shortened at its end. The mouse
/// wheel has an effect only while the box has the focus, so that nobody changes it by accident.
class ChoiceBox : public QComboBox {
    Q_OBJECT
public:
    /// Assistive technology gets `name` as the name of the box and the chosen text as its value.
    explicit ChoiceBox(const QString& name, QWidget* parent = nullptr);

    void add(int value, const QString& text);
    void setText(int value, const QString& text);
    /// Selects the item with this value, without emitting `chosen`.
    void setValue(int value);
    void showPopup() override;
    /// The size for the chosen text; the size hint is for the longest text.
    [[nodiscard]] QSize minimumSizeHint() const override;

signals:
    /// Emitted when the user has chosen an item.
    void chosen(int value);

protected:
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void makeRoomInPopup();
};

}  // namespace vestigo
