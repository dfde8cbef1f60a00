// The shell script that moves to the Trash what only an administrator may move, as text.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/cleanup_trash.h"
#include "platform/files.h"

namespace vestigo {

/// As one word of a shell command that stands for exactly these bytes. They hold no NUL.
[[nodiscard]] std::string shellQuoted(std::string_view text);

/// Moves the plan's items in order; one that fails does not stop the others. An item whose name is
/// taken in the Trash when it is its turn gets the next free one; nothing is ever overwritten. The
/// script ends with 0 once it has tried each item, and with another status, before it has moved
/// anything, where the Trash is no real folder or cannot be written to.
///
/// `items` tells what lay at each path when the run was asked for, which may be long before it
/// comes to the script: another item that has taken the path since stays. Absent: not known.
[[nodiscard]] std::string cleanupScript(const CleanupPlan& plan,
                                        std::span<const std::optional<ItemIdentity>> items);

/// What /usr/bin/osascript is given so that it asks for an administrator and runs the script.
[[nodiscard]] std::array<std::string, 2> osascriptArguments(std::string_view scriptPath);

}  // namespace vestigo
