// Shows items in Finder.
#pragma once

#include <string>

namespace vestigo {

/// Has Finder open a window with the item at the absolute path selected. Main thread only; returns
/// at once and reports no failure.
void revealInFinder(const std::string& path);

}  // namespace vestigo
