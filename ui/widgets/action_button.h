// The buttons of the toolbar.
#pragma once

#include <QPushButton>
#include <QString>
#include <cstdint>
#include <optional>

#include "ui/model/symbol.h"

namespace vestigo {

/// Whether Return presses the button that has the focus, as is usual on Linux. Else, and from
/// anywhere but a button, it presses the default button.
#ifdef Q_OS_MACOS
inline constexpr bool returnPressesFocusedButton = false;
#else
inline constexpr bool returnPressesFocusedButton = true;
#endif

enum class ButtonRole : std::uint8_t { plain, destructive };

/// A text, with a symbol before it where it has one. A destructive button shows them in red while
/// it can be pressed. When it is too narrow for its text, the middle of the text gives way.
class ActionButton : public QPushButton {
    Q_OBJECT
public:
    ActionButton(std::optional<Symbol> symbol, ButtonRole role, QWidget* parent = nullptr);

    /// As it is: nothing in it marks a key, and it stays on one line.
    void setPlainText(const QString& text);

    /// Down to the width of this one the text may be shortened where others need the room.
    void setLeastText(const QString& text) { leastText_ = text; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    [[nodiscard]] QSize sizeFor(const QString& text) const;
    void drawLabel(QPainter& painter, const QRect& area) const;
    void drawSymbolIn(QPainter& painter, const QRect& area) const;
    /// What the symbol takes of the width.
    [[nodiscard]] int symbolRoom() const;
    [[nodiscard]] bool warns() const;

    std::optional<Symbol> symbol_;
    ButtonRole role_;
    QString plainText_;
    QString leastText_;  ///< Empty: the text itself.
};

}  // namespace vestigo
