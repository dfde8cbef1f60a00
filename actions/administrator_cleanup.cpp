#include "actions/administrator_cleanup.h"

#include <utility>

#include "actions/cleanup_script.h"
#include "engine/removal_guard.h"

namespace vestigo {
namespace {

constexpr char scriptName[] = "/tm_sys_cleanup.sh";
constexpr char notRemoved[] = "System items were not removed (admin prompt cancelled or failed).";
constexpr char notWritten[] =
    "System items were not removed: the clean-up script could not be written to the temporary "
    "folder.";
constexpr char notPrivate[] =
    "System items were not removed: the temporary folder for the clean-up script is not yours "
    "alone.";

}  // namespace

AdministratorCleanup::AdministratorCleanup(AdministratorCleanupServices services)
    : services_(std::move(services)) {
    if (!services_.files->isPrivateFolder(services_.temporary)) return;
    CancelFlag atOnce;
    atOnce.cancel();
    // Whoever holds the folder, another window's program perhaps, is using its script.
    const auto lock = services_.files->lockFolder(services_.temporary, atOnce);
    if (lock) services_.files->remove(services_.temporary + scriptName);
}

std::optional<std::string> AdministratorCleanup::runAdminCleanup(
    const std::vector<CleanupItem>& items) {
    std::optional<std::string> refusal;
    std::vector<CleanupItem> allowed;
    for (const auto& item : items) {
        auto why = protectionOf(item.path, *services_.files);
        if (!why) allowed.push_back(item);
        if (why && !refusal) refusal = std::move(why);
    }
    if (allowed.empty()) return refusal;
    auto error = run(allowed);
    return error ? error : refusal;
}

// The question for the password may stay open for long, and another run's may come first.
std::optional<std::string> AdministratorCleanup::run(const std::vector<CleanupItem>& items) {
    const auto lock = services_.files->lockFolder(services_.temporary, withdrawn_);
    if (withdrawn_.cancelled()) return notRemoved;
    if (!lock || !services_.files->isPrivateFolder(services_.temporary)) return notPrivate;
    const auto plan = services_.trash->plan(items);
    if (plan.error) return plan.error;
    if (!plan.items.empty()) {
        if (auto error = runScript(cleanupScript(plan))) return error;
    }
    if (plan.onOtherDisks.empty()) return std::nullopt;
    return leftInPlace(plan.onOtherDisks.front(), "is on another disk than the Trash");
}

std::optional<std::string> AdministratorCleanup::runScript(const std::string& text) {
    const auto script = services_.temporary + scriptName;
    if (!services_.files->replace(script, text, Access::ownerOnly)) return notWritten;
    const auto run = services_.administrator->runScript(script, withdrawn_);
    // A shell that runs it has it open.
    services_.files->remove(script);
    if (run.launchError) return run.launchError;
    return run.status == 0 ? std::nullopt : std::optional<std::string>(notRemoved);
}

}  // namespace vestigo
