// A button with a symbol, for toolbar and sheets.
#pragma once

#include <QPushButton>
#include <QString>
#include <cstdint>
#include <optional>

#include "ui/model/symbol.h"

namespace vestigo {

/// True where Return presses the focused button, as is usual on Linux. On a Mac, Return presses the
/// default button wherever the focus is.
#ifdef Q_OS_MACOS
inline constexpr bool returnPressesFocusedButton = false;
#else
inline constexpr bool returnPressesFocusedButton = true;
#endif

enum class ButtonRole : std::uint8_t { plain, destructive };

/// Shows a text, with an optional symbol before it. A destructive button shows both in red while it
/// is enabled. A text that does not fit is shortened in the middle.
class ActionButton : public QPushButton {
    Q_OBJECT
public:
    ActionButton(std::optional<Symbol> symbol, ButtonRole role, QWidget* parent = nullptr);

    /// Sets a text in which "&" marks no shortcut. Line ends become spaces.
    void setPlainText(const QString& text);

    /// Lets a layout shrink the button to the width that this text needs.
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
    /// The width of the symbol and the space behind it, in points.
    [[nodiscard]] int symbolRoom() const;
    [[nodiscard]] bool isRed() const;

    std::optional<Symbol> symbol_;
    ButtonRole role_;
    QString plainText_;
    QString leastText_;  ///< When empty, the button does not shrink.
};

}  // namespace vestigo
