// Draws the symbols: our own pictures, tinted, crisp at every scale.
#pragma once

#include <QColor>
#include <QIcon>
#include <QPainter>
#include <QRectF>
#include <optional>

#include "ui/model/symbol.h"
#include "ui/widgets/theme.h"

namespace vestigo {

/// Centred in `area`, as large as fits; in the colour given.
void drawSymbol(QPainter& painter, const QRectF& area, Symbol symbol, const QColor& color);

/// For buttons: follows the palette of the application, light or dark, and greys out when disabled.
/// Without a tint it has the colour of a button's text.
[[nodiscard]] QIcon symbolIcon(Symbol symbol, std::optional<Tint> tint = std::nullopt);

/// The program's own icon; null when it cannot be drawn.
[[nodiscard]] QIcon applicationIcon();

}  // namespace vestigo
