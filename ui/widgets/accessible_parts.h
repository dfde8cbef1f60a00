// Headers, cells and buttons of the results table for assistive technology.
#pragma once

#include <QAccessibleInterface>

#include "ui/table/results_view.h"

namespace vestigo {

// The caller registers what it gets, which then belongs to Qt. Each goes by its place in the table,
// whatever row is there; one outside of it is not valid.

[[nodiscard]] QAccessibleInterface* accessibleHeader(ResultsView& view, int column);
/// A cell with a button in it has that as its only child.
[[nodiscard]] QAccessibleInterface* accessibleCell(ResultsView& view, int row, int column);

}  // namespace vestigo
