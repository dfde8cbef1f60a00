// The standard folders on Linux: the XDG base directories.
#pragma once

#include <string>

#include "platform/standard_folders.h"

namespace vestigo {

/// `home` is $HOME, else the home in the user database; `applicationSupport` is $XDG_DATA_HOME,
/// else ".local/share" in it; `temporary` is $XDG_RUNTIME_DIR if only the user may enter it, else a
/// folder "vestigo-<uid>" in `sharedTemporary`, which is created. If somebody else owns or may
/// enter that one, it is not used: a new folder with a free name takes its place or, where none can
/// be created, the application support folder. Variables that are no absolute path are ignored.
[[nodiscard]] StandardFolders linuxStandardFolders(const std::string& sharedTemporary = "/tmp");

}  // namespace vestigo
