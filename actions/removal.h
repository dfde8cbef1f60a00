// Moves groups that the user has chosen, and the leftovers found for them, to the Trash.
//
// A removal is one value, its plan. The plan is made when the confirmation opens, so the items that
// the user is shown are those that the owner is asked about and those that are moved. From then on
// nothing joins it: only the user's ticks change it, and groups leave it that may no longer be
// removed. Each item is known by its identity on the disk, and is checked in the background while
// the confirmation is open.
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

/// The services that removals need. All are required.
struct RemovalServices {
    std::shared_ptr<MainQueue> main;
    std::shared_ptr<BackgroundTasks> background;
    std::shared_ptr<OwnerAuthentication> authentication;
    std::shared_ptr<AdministratorCleanup> cleanup;
    std::shared_ptr<BundleReader> bundles;
    std::shared_ptr<Files> files;
    LeftoverPlaces places = {};
};

/// The items that are to be removed.
struct RemovalPlan {
    std::vector<std::string> groups;  ///< The roots of the groups, in the Scanner's order.
    std::vector<Leftover> leftovers;  ///< All that were found; `on` is the user's tick.
};

/// Functions that report to the view of a removal, called on the main thread. All are required.
struct RemovalEvents {
    /// Called when `checking` has changed.
    std::function<void()> checkingChanged;
    /// Called when all items have been tried. The plan is empty again. `message` is the reason why
    /// the first item that stayed did so.
    std::function<void(std::optional<std::string> message)> ended;
    /// Called later, if the administrator's clean-up did not move all of its items; `message` is
    /// why.
    std::function<void(std::string message)> cleanupFailed;
};

/// Removes findings of one Scanner, one plan at a time. Main thread only. Once this is destroyed
/// nothing is reported any more; an administrator's clean-up that is running then still goes to its
/// end.
class Removal {
public:
    /// The Scanner must outlive this object.
    Removal(RemovalServices services, Scanner& scanner, RemovalEvents events);
    ~Removal();
    Removal(const Removal&) = delete;
    Removal& operator=(const Removal&) = delete;

    [[nodiscard]] const RemovalPlan& plan() const { return plan_; }
    /// Makes a new plan of these groups and the leftovers that are found for them now, and starts
    /// the checks of its items. Blocking for the search of the leftovers, not for the checks.
    void open(std::span<const BundleGroup* const> groups);
    /// The reason why the first group that has left the plan did so; groups that are gone from the
    /// disk do not count.
    [[nodiscard]] const std::optional<std::string>& withdrawalReason() const {
        return withdrawalReason_;
    }
    /// Drops from the plan all groups but these, and the leftovers that belong to none of these.
    /// True when a group was dropped.
    bool retain(std::span<const BundleGroup* const> groups);
    /// Ticks a leftover, or not. Ignored for a path that is not among the leftovers, and once the
    /// owner has agreed.
    void setLeftoverOn(const std::string& path, bool on);
    /// Drops the plan. A late answer of the owner then changes nothing.
    void close();

    /// Asks the owner, if the machine has a way to, and then removes what the plan holds at that
    /// time. Nothing happens if the owner refuses, or while they are already being asked.
    void confirmDelete();
    /// Whether the owner has agreed while items are still being checked.
    [[nodiscard]] bool checking() const { return checking_; }
    /// Removes without asking. Blocking, except that the items which need an administrator are
    /// removed in the background.
    void performDelete();

private:
    void recordItem(const std::string& path, CodeRule rule);
    [[nodiscard]] const char* whyWithdrawn(const std::string& root) const;
    void performWhenChecked();
    void setChecking(bool value);
    void runAdminCleanup(std::vector<CleanupItem> items);

    RemovalServices services_;
    Scanner& scanner_;
    RemovalEvents events_;
    RemovalPlan plan_;
    std::unordered_map<std::string, RemovalItem>
        items_;                              ///< Those of the plan, as they were shown.
    std::unique_ptr<RemovalChecks> checks_;  ///< Null while there is no plan.
    std::optional<std::string> withdrawalReason_;
    bool checking_ = false;
    OwnerQuestion question_;
    WeakAnchor<Removal> anchor_{*this};
};

}  // namespace vestigo
