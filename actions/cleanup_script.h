// The shell script that moves to the Trash what only an administrator may move, as text.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "platform/cleanup_trash.h"

namespace vestigo {

/// As one word of a shell command that stands for exactly these bytes. They hold no NUL.
[[nodiscard]] std::string shellQuoted(std::string_view text);

/// Moves the plan's items in order; one that fails does not stop the others. An item whose name is
/// taken in the Trash when it is its turn gets the next free one; nothing is ever overwritten. The
/// script ends with 0 once it has tried each item, and with another status, before it has moved
/// anything, where the Trash is no real folder or cannot be written to.
///
/// The script may run long after it was written. An item stays that has taken another one's path,
/// and one in which anything has changed since.
[[nodiscard]] std::string cleanupScript(const CleanupPlan& plan);

/// What /usr/bin/osascript is given so that it asks for an administrator and runs the script.
[[nodiscard]] std::array<std::string, 2> osascriptArguments(std::string_view scriptPath);

}  // namespace vestigo
