// Presents the results table to assistive technology.
#pragma once

namespace vestigo {

/// From now on, every `ResultsView` is presented as a table. Its first row holds the column
/// headers, and a cell has its button as a child. Must be called before a view is shown; further
/// calls do nothing. Main thread only.
void makeResultsAccessible();

}  // namespace vestigo
