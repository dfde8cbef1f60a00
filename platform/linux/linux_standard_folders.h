// Where Linux keeps things: the XDG base directories.
#pragma once

#include <string>

#include "platform/standard_folders.h"

namespace vestigo {

/// `home` is $HOME, else what the user database says; `applicationSupport` is $XDG_DATA_HOME, else
/// ".local/share" in it; `temporary` is $XDG_RUNTIME_DIR if it is the user's alone, else a folder
/// "vestigo-<uid>" in `sharedTemporary`, created with that. A folder there that is not ours alone
/// is never used: a new one with a free name then takes its place, or, where none can be made, the
/// application support folder. Variables that are no absolute path are ignored.
[[nodiscard]] StandardFolders linuxStandardFolders(const std::string& sharedTemporary = "/tmp");

}  // namespace vestigo
