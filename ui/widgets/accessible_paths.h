// Presents the lists of paths on sheets to assistive technology.
#pragma once

namespace vestigo {

/// From now on, every `PathList` is presented as a list of items or check boxes. Must be called
/// before a list is shown; further calls do nothing. Main thread only.
void makePathsAccessible();

}  // namespace vestigo
