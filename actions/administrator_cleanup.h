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

/// The text as one word of a shell command that stands for exactly these bytes. It must not contain
/// a NUL.
[[nodiscard]] std::string shellQuoted(std::string_view text);

/// The shell script that moves the plan's items to the Trash, in order. An item that fails does not
/// stop the others. An item gets the next free name if its own is taken in the Trash by then;
/// nothing is ever overwritten. The script exits with 0 once it has tried all items. If the Trash
/// is no real folder or cannot be written to, it exits with another status before it has moved
/// anything.
///
/// The script may run long after it was written. It leaves an item in place if another one has
/// taken its path, or if anything in it has changed since.
[[nodiscard]] std::string cleanupScript(const CleanupPlan& plan);

/// The arguments with which /usr/bin/osascript asks for an administrator and runs the script.
[[nodiscard]] std::array<std::string, 2> osascriptArguments(std::string_view scriptPath);

/// The services that a clean-up needs. All are required.
struct AdministratorCleanupServices {
    std::shared_ptr<Administrator> administrator;
    std::shared_ptr<Files> files;
    std::shared_ptr<CleanupTrash> trash;
    std::string temporary;  ///< The user's private temporary folder, without a trailing slash.
};

/// Moves items that only an administrator may move to the user's Trash. Constructing it removes a
/// script that an earlier program has left behind. All runs of a user share one path for their
/// script, so they wait for each other, also those of other windows and of a second instance of the
/// program. Thread-safe.
class AdministratorCleanup {
public:
    explicit AdministratorCleanup(AdministratorCleanupServices services);

    /// Has one script move all these items, after the system has asked for an administrator. Items
    /// that are protected or on another disk are left out. The result is absent when the script has
    /// run and nothing was left out, though an item may still have failed; otherwise it is the
    /// reason, for the user to read. Blocking for as long as the question is open; must not be
    /// called on the main thread.
    [[nodiscard]] std::optional<std::string> runAdminCleanup(const std::vector<CleanupItem>& items);

    /// To be called when the program ends. Runs return within a moment from now on: an open
    /// question is withdrawn and no further one is asked. A script that is running goes on alone to
    /// its end.
    void withdraw() { withdrawn_.cancel(); }

private:
    [[nodiscard]] std::optional<std::string> run(const std::vector<CleanupItem>& items);
    [[nodiscard]] std::optional<std::string> runScript(const std::string& text);

    AdministratorCleanupServices services_;
    CancelFlag withdrawn_;
};

}  // namespace vestigo
