// The standard folders on macOS.
#pragma once

#include <string>

#include "platform/standard_folders.h"

namespace vestigo {

/// `home` is $HOME, else the home in the user database; `applicationSupport` is the folder of that
/// name in its Library; `temporary` is the one that the system creates for each user or, where it
/// gives none, the application support folder.
[[nodiscard]] StandardFolders macOSStandardFolders();

}  // namespace vestigo
