// Draws the symbols from our own pictures, in any colour and sharp at every scale.
#pragma once

#include <QColor>
#include <QIcon>
#include <QPainter>
#include <QRectF>
#include <optional>

#include "ui/model/symbol.h"
#include "ui/widgets/theme.h"

namespace vestigo {

/// Draws the symbol centred in `area`, as large as fits.
void drawSymbol(QPainter& painter, const QRectF& area, Symbol symbol, const QColor& color);

/// An icon for buttons. It follows the application's palette and is greyed out when disabled.
/// Without a tint it has the colour of a button's text.
[[nodiscard]] QIcon symbolIcon(Symbol symbol, std::optional<Tint> tint = std::nullopt);

/// The program's own icon; null when it cannot be drawn.
[[nodiscard]] QIcon applicationIcon();

}  // namespace vestigo
