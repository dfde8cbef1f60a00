// The typefaces of the window.
#pragma once

#include <QFont>

namespace vestigo {

/// "Avenir Next", or the system's interface font where it is missing. One point is one
/// device-independent pixel, as the layout counts them.
[[nodiscard]] QFont contentFont(double points);

/// The system's interface font at a size in the same points.
[[nodiscard]] QFont systemFont(double points, QFont::Weight weight = QFont::Normal);

/// The system's typeface whose characters are all of one width.
[[nodiscard]] QFont monospacedFont(double points, QFont::Weight weight = QFont::Normal);

}  // namespace vestigo
