#include "actions/removal.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "engine/removal_guard.h"

namespace vestigo {
namespace {

void keepFirst(std::optional<std::string>& first, std::optional<std::string> next) {
    if (!first) first = std::move(next);
}

std::vector<std::string> tickedPaths(const RemovalPlan& plan, bool system) {
    std::vector<std::string> paths;
    for (const auto& leftover : plan.leftovers) {
        if (leftover.on && leftover.system == system) paths.push_back(leftover.path);
    }
    return paths;
}

}  // namespace

Removal::Removal(RemovalServices services, Scanner& scanner, RemovalEvents events)
    : services_(std::move(services)),
      scanner_(scanner),
      events_(std::move(events)),
      question_(services_.main, services_.authentication) {}

Removal::~Removal() = default;

void Removal::open(std::span<const BundleGroup* const> groups) {
    close();
    checks_ = scanner_.removalChecks();
    for (const auto* const group : groups) {
        plan_.groups.push_back(group->root);
        recordItem(group->root, CodeRule::noArm64);
        checks_->add(items_.at(group->root));
    }
    plan_.leftovers = findLeftovers(groups, services_.places, *services_.bundles, *services_.files);
    for (const auto& leftover : plan_.leftovers) {
        recordItem(leftover.path, CodeRule::noKeptGroup);
        if (leftover.on) checks_->add(items_.at(leftover.path));
    }
}

void Removal::recordItem(const std::string& path, CodeRule rule) {
    items_[path] = {path, services_.files->identity(path), rule};
}

bool Removal::retain(std::span<const BundleGroup* const> groups) {
    const std::unordered_set<std::string> planned(plan_.groups.begin(), plan_.groups.end());
    std::vector<const BundleGroup*> staying;
    std::ranges::copy_if(groups, std::back_inserter(staying),
                         [&](const auto* group) { return planned.contains(group->root); });
    if (staying.size() == planned.size()) return false;
    std::unordered_set<std::string> left(planned);
    for (const auto* const group : staying) left.erase(group->root);
    std::erase_if(plan_.groups, [&](const auto& root) { return left.contains(root); });
    for (const auto& root : left) {
        checks_->drop(root);
        if (!services_.files->kind(root)) continue;
        keepFirst(withdrawalReason_, leftInPlace(root, whyWithdrawn(root)));
    }
    // A leftover stays in the plan while any group in the plan has it.
    std::unordered_set<std::string> found;
    for (auto& leftover :
         findLeftovers(staying, services_.places, *services_.bundles, *services_.files)) {
        found.insert(std::move(leftover.path));
    }
    std::erase_if(plan_.leftovers, [&](const Leftover& leftover) {
        if (found.contains(leftover.path)) return false;
        checks_->drop(leftover.path);
        return true;
    });
    return true;
}

const char* Removal::whyWithdrawn(const std::string& root) const {
    if (scanner_.isAppleSigned(root)) return "is signed by Apple";
    const auto isKept = [&root](const BundleGroup& group) {
        return group.root == root && group.fix == Fix::keep;
    };
    return std::ranges::any_of(scanner_.groups(), isKept) ? "also runs natively"
                                                          : "is no longer among the findings";
}

void Removal::setLeftoverOn(const std::string& path, bool on) {
    const auto found = std::ranges::find(plan_.leftovers, path, &Leftover::path);
    // Once the owner has agreed, nothing joins the items that they have agreed to.
    if (found == plan_.leftovers.end() || checking_) return;
    found->on = on;
    if (on) {
        checks_->add(items_.at(path));
    } else {
        checks_->drop(path);
    }
}

void Removal::close() {
    question_.withdraw();
    checks_.reset();
    items_.clear();
    plan_ = {};
    withdrawalReason_.reset();
    setChecking(false);
}

void Removal::confirmDelete() {
    if (checking_) return;
    question_.ask("confirm moving " + std::to_string(plan_.groups.size()) + " item(s) to the Trash",
                  [this] { performWhenChecked(); });
}

void Removal::performWhenChecked() {
    if (!checks_) return;
    setChecking(true);
    checks_->whenIdle([this] {
        setChecking(false);
        performDelete();
    });
}

void Removal::setChecking(bool value) {
    if (std::exchange(checking_, value) != value) events_.checkingChanged();
}

void Removal::performDelete() {
    // The plan is moved out first: trashing groups changes the findings, and the observers of those
    // would take groups out of the plan while it is being worked on.
    const auto plan = std::exchange(plan_, {});
    const auto checks = std::move(checks_);
    auto message = scanner_.trashGroups({plan.groups.begin(), plan.groups.end()}, checks.get());
    keepFirst(message, scanner_.trashPaths(tickedPaths(plan, false), checks.get()));
    auto [systemItems, refusal] = scanner_.allowedToGo(tickedPaths(plan, true), checks.get());
    keepFirst(message, std::move(refusal));
    keepFirst(message, withdrawalReason_);
    close();
    events_.ended(std::move(message));
    if (!systemItems.empty()) runAdminCleanup(std::move(systemItems));
}

/// Runs last and in the background, since the question for the password may stay open for long.
void Removal::runAdminCleanup(std::vector<CleanupItem> items) {
    services_.background->run(Priority::normal, [main = services_.main, cleanup = services_.cleanup,
                                                 owner = anchor_.ref(), items = std::move(items)] {
        auto message = cleanup->runAdminCleanup(items);
        if (!message) return;
        main->post([owner, message = std::move(*message)] {
            if (auto* const removal = owner.get()) removal->events_.cleanupFailed(message);
        });
    });
}

}  // namespace vestigo
