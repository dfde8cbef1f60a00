// A pop-up choice between values.
#pragma once

#include <QComboBox>
#include <QString>

namespace vestigo {

/// Every item stands for a value, an int; no two for the same. Its texts may change at any time,
/// also while it is open. When it is narrower than its text, the text ends in an ellipsis. The
/// mouse wheel changes it only while it has the focus, so that nobody changes it in passing.
class ChoiceBox : public QComboBox {
    Q_OBJECT
public:
    /// `name` is what assistive technology calls it; what is chosen is its value.
    explicit ChoiceBox(const QString& name, QWidget* parent = nullptr);

    void add(int value, const QString& text);
    void setText(int value, const QString& text);
    /// Shows the value as chosen; nothing is emitted.
    void setValue(int value);
    void showPopup() override;
    /// What the chosen text needs; the size hint is what the longest text needs.
    [[nodiscard]] QSize minimumSizeHint() const override;

signals:
    /// The user chose.
    void chosen(int value);

protected:
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void makeRoomInPopup();
};

}  // namespace vestigo
