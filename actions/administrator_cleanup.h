// Moves machine-wide leftovers to the Trash with an administrator's rights.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/administrator.h"
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
/// The script may run long after it was written. An item stays that has taken another one's path,
/// and one in which anything has changed since.
[[nodiscard]] std::string cleanupScript(const CleanupPlan& plan);

/// What /usr/bin/osascript is given so that it asks for an administrator and runs the script.
[[nodiscard]] std::array<std::string, 2> osascriptArguments(std::string_view scriptPath);

/// All are required.
struct AdministratorCleanupServices {
    std::shared_ptr<Administrator> administrator;
    std::shared_ptr<Files> files;
    std::shared_ptr<CleanupTrash> trash;
    std::string temporary;  ///< The user's private temporary folder, without a trailing slash.
};

/// Whatever an earlier program has left of its script goes when this is made. All runs of a user
/// share the place of their script, so they come one after the other, also those
/// of another window or of a program started twice. Thread-safe.
class AdministratorCleanup {
public:
    explicit AdministratorCleanup(AdministratorCleanupServices services);

    /// Has one script move all these items to the user's Trash, after the system has asked for an
    /// administrator. Whatever is protected, or on another disk, is left out. Absent when the
    /// script has run and nothing was left out, which does not mean that each item could be moved;
    /// else why not, for the user to read. Blocking, as long as the question is open; never on the
    /// main thread.
    [[nodiscard]] std::optional<std::string> runAdminCleanup(const std::vector<CleanupItem>& items);

    /// For the end of the program: runs return within a moment from now on. A question that is open
    /// is withdrawn and none is asked any more; a script that is running ends alone.
    void withdraw() { withdrawn_.cancel(); }

private:
    [[nodiscard]] std::optional<std::string> run(const std::vector<CleanupItem>& items);
    [[nodiscard]] std::optional<std::string> runScript(const std::string& text);

    AdministratorCleanupServices services_;
    CancelFlag withdrawn_;
};

}  // namespace vestigo
