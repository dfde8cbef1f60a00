// The demonstration disk as the world of a window.
#pragma once

#include <string>

#include "app/window_services.h"

namespace vestigo {

/// Where its Trash really is.
[[nodiscard]] std::string demoTrashFolder(const std::string& disk);

/// Everything that the program keeps or looks at lies on `disk`; only what the user exports goes
/// where they say. Needs the application object.
[[nodiscard]] Surroundings demoSurroundings(const std::string& disk);

}  // namespace vestigo
