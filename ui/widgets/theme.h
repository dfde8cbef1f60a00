// The colours and fonts of the window, for light and dark appearance.
#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

#include "ui/model/symbol.h"

namespace vestigo {

/// True when the palette has light text on a dark background.
[[nodiscard]] bool isDark(const QPalette& palette);

/// A dark palette, for desktops whose style has none.
[[nodiscard]] QPalette darkPalette();

/// `primary`, `secondary` and `tertiary` are mixed from the palette; the others have one fixed
/// value for light and one for dark. Each has a contrast of at least 4.5 : 1 on every background
/// that it is used on, except for the prescribed light values of two labels of a fix.
[[nodiscard]] QColor colorOf(Tint tint, const QPalette& palette);

/// The background of a selected row; `active` tells whether its window has the keyboard. It differs
/// little from the plain background, so that every tint stays readable; a stripe in `markColor` at
/// the edge of the row makes it stand out.
[[nodiscard]] QColor selectedGround(const QPalette& palette, bool active);

/// The colour that marks selection and focus: the palette's highlight, moved towards the text
/// colour until its contrast with the background of a selected row is at least 3 : 1.
[[nodiscard]] QColor markColor(const QPalette& palette);

/// Returns the palette with which a style draws the border of a check box in this colour.
[[nodiscard]] QPalette checkBoxPalette(QPalette palette, const QColor& border);

/// The contrast of two colours as WCAG defines it, from 1 to 21.
[[nodiscard]] double contrast(const QColor& one, const QColor& other);

/// "Avenir Next", or the system's interface font where that is missing. One point is one
/// device-independent pixel, as everywhere in the layout.
[[nodiscard]] QFont contentFont(double points);

/// The system's interface font at a size in the same points.
[[nodiscard]] QFont systemFont(double points, QFont::Weight weight = QFont::Normal);

/// The system's monospaced font.
[[nodiscard]] QFont monospacedFont(double points, QFont::Weight weight = QFont::Normal);

}  // namespace vestigo
