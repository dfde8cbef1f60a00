// Presents headers, cells and buttons of the results table to assistive technology.
#pragma once

#include <QAccessibleInterface>

#include "ui/table/results_view.h"

namespace vestigo {

// The caller registers the returned object with QAccessible, which then owns it. It stands for a
// place in the table and not for a group; it is invalid when the place is outside of the table.

[[nodiscard]] QAccessibleInterface* accessibleHeader(ResultsView& view, int column);
/// A cell that shows a button has it as its only child.
[[nodiscard]] QAccessibleInterface* accessibleCell(ResultsView& view, int row, int column);

}  // namespace vestigo
