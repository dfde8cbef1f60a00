// Moves what the user has chosen to the Trash: groups, and the leftovers found for them.
//
// A removal is one value, its plan. The plan is made when the confirmation opens: what the user is
// shown is what the owner is asked for and what is tried. From then on only the user's ticks change
// it, and groups leave it that may not go any more; nothing joins it. Each item is known by its
// identity on the disk, and looked into in the background while the confirmation is open.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "actions/administrator_cleanup.h"
#include "actions/leftover_finder.h"
#include "actions/owner_question.h"
#include "engine/scanner.h"
#include "platform/bundle_information.h"
#include "platform/files.h"
#include "platform/owner_authentication.h"
#include "platform/tasks.h"

namespace vestigo {

/// All are required.
struct RemovalServices {
    std::shared_ptr<MainQueue> main;
    std::shared_ptr<BackgroundTasks> background;
    std::shared_ptr<OwnerAuthentication> authentication;
    std::shared_ptr<AdministratorCleanup> cleanup;
    std::shared_ptr<BundleReader> bundles;
    std::shared_ptr<Files> files;
    LeftoverPlaces places = {};
};

/// What is to be removed.
struct RemovalPlan {
    std::vector<std::string> groups;  ///< Their roots, in the Scanner's order.
    std::vector<Leftover> leftovers;  ///< As the user has ticked them.
};

/// What whoever shows a removal hears of it, on the main thread. All are required.
struct RemovalEvents {
    /// `checking` has changed.
    std::function<void()> checkingChanged;
    /// Everything has been tried. The plan is empty again; why the first item stayed that did.
    std::function<void(std::optional<std::string> message)> ended;
    /// After that: why what needs an administrator was not moved, or not all of it.
    std::function<void(std::string message)> cleanupFailed;
};

/// The removals of one Scanner's findings, one at a time. Main thread only. After its end nothing
/// is reported any more; an administrator's run that is under way then goes on to its own end.
class Removal {
public:
    /// The Scanner outlives it.
    Removal(RemovalServices services, Scanner& scanner, RemovalEvents events);
    ~Removal();
    Removal(const Removal&) = delete;
    Removal& operator=(const Removal&) = delete;

    [[nodiscard]] const RemovalPlan& plan() const { return plan_; }
    /// Makes the plan anew: these groups and what is found of their leftovers now. Begins to look
    /// into what is to go. Blocking for the search alone.
    void open(std::span<const BundleGroup* const> groups);
    /// Why the first group had to leave the plan that did and is still there.
    [[nodiscard]] const std::optional<std::string>& departed() const { return departed_; }
    /// Of the plan's groups only these stay in it, with their leftovers. True when one has left.
    bool retain(std::span<const BundleGroup* const> groups);
    /// Ignored for a path that is not among the leftovers.
    void setLeftoverOn(const std::string& path, bool on);
    /// Gives the plan up. An answer of the owner that still comes changes nothing.
    void close();

    /// Asks the owner first, where the machine has a way to, then removes what the plan holds by
    /// then. Without a confirmation nothing happens. Does nothing while the owner is being asked.
    void confirmDelete();
    /// The owner has agreed; the items are still being looked into before they can go.
    [[nodiscard]] bool checking() const { return checking_; }
    /// Removes without asking. Blocking but for what needs an administrator, which goes on in the
    /// background.
    void performDelete();

private:
    void note(const std::string& path, CodeRule rule);
    [[nodiscard]] const char* whyItLeft(const std::string& root) const;
    void performWhenLookedInto();
    void setChecking(bool value);
    void runAdminCleanup(std::vector<CleanupItem> items);

    RemovalServices services_;
    Scanner& scanner_;
    RemovalEvents events_;
    RemovalPlan plan_;
    std::unordered_map<std::string, RemovalItem> items_;  ///< Of the plan, as they were shown.
    std::unique_ptr<RemovalLooks> looks_;                 ///< Null while there is no plan.
    std::optional<std::string> departed_;                 ///< Why the first group left that did.
    bool checking_ = false;
    OwnerQuestion question_;
    WeakAnchor<Removal> anchor_{*this};
};

}  // namespace vestigo
