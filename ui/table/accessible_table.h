// The results table as assistive technology sees it.
#pragma once

namespace vestigo {

/// From now on every `ResultsView` is a table whose first row are the column headers and whose
/// cells hold their buttons. May be called more than once. Main thread only.
void makeResultsAccessible();

}  // namespace vestigo
