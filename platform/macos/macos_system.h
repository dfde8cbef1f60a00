// Where macOS keeps things.
#pragma once

#include <string>

#include "platform/standard_folders.h"

namespace vestigo {

/// `home` is $HOME, else what the user database says; `applicationSupport` is the folder of that
/// name in its Library; `temporary` is the one that the system makes for each user, or, where it
/// gives none, the application support folder.
[[nodiscard]] StandardFolders macOSStandardFolders();

}  // namespace vestigo
