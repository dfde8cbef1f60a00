// Moves what the user has chosen to the Trash: groups, and the leftovers found for them.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "actions/administrator_cleanup.h"
#include "actions/owner_question.h"
#include "actions/removal_window.h"
#include "engine/scanner.h"
#include "platform/owner_authentication.h"
#include "platform/tasks.h"

namespace vestigo {

/// All are required.
struct RemovalServices {
    std::shared_ptr<MainQueue> main;
    std::shared_ptr<BackgroundTasks> background;
    std::shared_ptr<OwnerAuthentication> authentication;
    std::shared_ptr<AdministratorCleanup> cleanup;
    /// The Scanner's operations of these names.
    std::function<std::optional<std::string>(const RootSet&)> trashGroups;
    std::function<std::optional<std::string>(const std::string&)> trashPath;
    std::function<std::optional<std::string>(const std::string&)> removalRefusal;
};

/// The removals of one window. Main thread only. What comes after its end changes nothing any more;
/// an administrator's run that is under way then goes on to its own end.
class Removal {
public:
    /// The window outlives it.
    Removal(RemovalServices services, RemovalWindow& window);
    ~Removal();
    Removal(const Removal&) = delete;
    Removal& operator=(const Removal&) = delete;

    /// Asks the owner first, where the machine has a way to; without a confirmation nothing
    /// happens. Does nothing while the owner is being asked.
    void confirmDelete();
    /// The user has thought better of it while the owner was being asked.
    void withdraw() { question_.withdraw(); }
    /// Removes without asking. Blocking but for what needs an administrator, which goes on in the
    /// background.
    void performDelete();

private:
    struct Handle;

    [[nodiscard]] std::optional<std::string> trashSelection();
    void runAdminCleanup(std::vector<std::string> paths);

    RemovalServices services_;
    RemovalWindow& window_;
    std::shared_ptr<Handle> handle_;
    OwnerQuestion question_;
};

}  // namespace vestigo
