// The colours of the window, in light and in dark.
#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

#include "ui/model/symbol.h"

namespace vestigo {

/// Whether a palette is one of light text on dark ground.
[[nodiscard]] bool isDark(const QPalette& palette);

/// Light text on dark ground, for desktops whose style brings none of its own.
[[nodiscard]] QPalette darkPalette();

/// The tints named by role are mixed from the palette, the others have one value for light and one
/// for dark. Apart from the light values of two labels of a fix, which are given, each can be read
/// (4.5 : 1) on every ground that it is written on.
[[nodiscard]] QColor colorOf(Tint tint, const QPalette& palette);

/// The ground of a selected row, in a window that has the keys or not. It is so close to the plain
/// ground that every tint can still be read; `markColor` at its edge makes it stand out.
[[nodiscard]] QColor selectedGround(const QPalette& palette, bool active);

/// For the marks of what is selected or has the focus: the palette's highlight, as far from the
/// plain ground as a mark must be to be seen (3 : 1).
[[nodiscard]] QColor markColor(const QPalette& palette);

/// The palette with which a style draws a check box whose border is in this colour.
[[nodiscard]] QPalette checkBoxPalette(QPalette palette, const QColor& border);

/// How well two colours can be told apart, from 1 to 21: WCAG's ratio of relative luminances.
[[nodiscard]] double contrast(const QColor& one, const QColor& other);

/// "Avenir Next", or the system's interface font where it is missing. One point is one
/// device-independent pixel, as the layout counts them.
[[nodiscard]] QFont contentFont(double points);

/// The system's interface font at a size in the same points.
[[nodiscard]] QFont systemFont(double points, QFont::Weight weight = QFont::Normal);

/// The system's typeface whose characters are all of one width.
[[nodiscard]] QFont monospacedFont(double points, QFont::Weight weight = QFont::Normal);

}  // namespace vestigo
