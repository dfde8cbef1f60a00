// The colours of the window, in light and in dark.
#pragma once

#include <QColor>
#include <QPalette>

#include "ui/cell_content.h"

namespace vestigo {

/// Whether a palette is one of light text on dark ground.
[[nodiscard]] bool isDark(const QPalette& palette);

/// The tints named by role are mixed from the palette, the others have one value for light and one
/// for dark.
[[nodiscard]] QColor colorOf(Tint tint, const QPalette& palette);

}  // namespace vestigo
