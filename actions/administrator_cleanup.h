// Moves machine-wide leftovers to the Trash with an administrator's rights.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/administrator.h"
#include "platform/cleanup_trash.h"
#include "platform/files.h"

namespace vestigo {

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
