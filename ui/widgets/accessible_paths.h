// The list of paths on a sheet as assistive technology sees it.
#pragma once

namespace vestigo {

/// From now on every `PathList` is a list of items and check boxes that can be ticked. May be
/// called more than once. Main thread only.
void makePathsAccessible();

}  // namespace vestigo
