// The shell script that moves to the Trash what only an administrator may move, as text.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>

#include "platform/cleanup_trash.h"

namespace vestigo {

/// As one word of a shell command that stands for exactly these bytes. They hold no NUL.
[[nodiscard]] std::string shellQuoted(std::string_view text);

/// One line for each move, in order; one that fails does not stop the others. What gets a name of
/// its own never takes the place of anything.
[[nodiscard]] std::string cleanupScript(std::span<const CleanupMove> moves);

/// What /usr/bin/osascript is given so that it asks for an administrator and runs the script.
[[nodiscard]] std::array<std::string, 2> osascriptArguments(std::string_view scriptPath);

}  // namespace vestigo
