// ContentView is the only writer of a window's state. Commands change a field through `change`,
// which notifies observers when the value differs. Everything else that a window shows is derived
// when it is asked for and never stored, so nothing can be out of date.
//
// Three events change state without a command of the user. A signature may show that a selected
// group is Apple's: the group leaves the selection and the plan of the open confirmation. A rescan
// may find that a planned group has gone or may no longer be removed: it leaves the plan, and the
// confirmation closes when the plan is empty. A reinstall reports its output and its end, also one
// that an earlier window began. No event adds anything to a plan, because the user confirms exactly
// what the sheet has shown.
//
// Panels and prompts run an event loop of their own, and the window may be destroyed meanwhile.
// Code that follows such a call first asks a `WeakRef` of this object whether it is still there.
#include "ui/model/content_view.h"

#include <algorithm>
#include <utility>

#include "engine/grouping.h"
#include "engine/removal_guard.h"
#include "engine/scan_rules.h"
#include "persist/csv.h"

namespace vestigo {
namespace {

constexpr double smallFontSize = 13;
constexpr char outOfMemoryMessage[] =
    "There was not enough memory to go on. What could not be finished was given up; close other "
    "programs and try again.";
/// Makes every column a little wider than its base width, which was laid out without any reserve.
constexpr double widthReserve = 1.06;

RemovalServices removalServices(const ContentServices& services) {
    return {.main = services.scanner.main,
            .background = services.scanner.background,
            .authentication = services.authentication,
            .cleanup = services.cleanup,
            .bundles = services.bundles,
            .files = services.files,
            .places = services.places};
}

ReinstallServices reinstallServices(const ContentServices& services, Scanner& scanner) {
    return {.main = services.scanner.main,
            .processes = services.processes,
            .files = services.files,
            .links = services.links,
            .authentication = services.authentication,
            .checks = [&scanner] { return scanner.removalChecks(); },
            .trashPath =
                [&scanner](const std::string& path, const RemovalChecks* checks) {
                    return scanner.trashPaths({path}, checks);
                },
            .folder = services.reinstallFolder,
            .places = services.homebrew};
}

}  // namespace

ContentView::ContentView(const ContentServices& services)
    : scanner_(services.scanner),
      desktop_(services.desktop),
      files_(services.files),
      exportFiles_(services.exportFiles),
      settings_(services.settings),
      home_(services.places.home),
      terminate_(services.terminate),
      removal_(removalServices(services), scanner_, removalEvents()),
      reinstall_(reinstallServices(services, scanner_)) {
    subscriptions_ = {
        // A signature may arrive when its row is selected already.
        scanner_.subscribe([this](ScannerField field) {
            if (field == ScannerField::signatures) selectionChanged();
            if (field == ScannerField::signatures || field == ScannerField::groups) {
                change(removalHint_, {}, ContentField::removalHint);
                updatePlan();
            }
        }),
        reinstall_.subscribe([this](const ReinstallReport& report) { apply(report); }),
        settings_->subscribe([this] { observers_.notify(ContentField::fontDelta); }),
        services.notifications->subscribe([this](std::string_view name) {
            if (name == notification::showAbout) showAboutRequested();
            if (name == notification::showHelp) showHelpRequested();
            if (name == notification::outOfMemory) showAlert(outOfMemoryMessage);
        }),
    };
    reinstall_.takeOver();
}

ContentView::~ContentView() = default;

Subscription ContentView::subscribe(std::function<void(ContentField)> observer) {
    return observers_.subscribe(std::move(observer));
}

template <class Value>
void ContentView::change(Value& field, Value value, ContentField name) {
    if (field == value) return;
    field = std::move(value);
    observers_.notify(name);
}

void ContentView::setScope(Scope scope) {
    change(scope_, scope, ContentField::scope);
}

void ContentView::setCategoryFilter(std::optional<Category> category) {
    change(categoryFilter_, category, ContentField::categoryFilter);
}

void ContentView::setFixFilter(std::optional<Fix> fix) {
    change(fixFilter_, fix, ContentField::fixFilter);
}

void ContentView::setSortOrder(std::vector<SortComparator> order) {
    change(sortOrder_, std::move(order), ContentField::sortOrder);
}

/// A second click on a column reverses its order. The keys of earlier clicks stay behind the new
/// one, so that rows that are equal by it keep their earlier order.
void ContentView::sortBy(SortKey key) {
    auto order = sortOrder_;
    SortComparator primary{key, false};
    if (!order.empty() && order.front().key == key) primary.descending = !order.front().descending;
    std::erase_if(order, [key](const SortComparator& earlier) { return earlier.key == key; });
    order.insert(order.begin(), primary);
    setSortOrder(std::move(order));
}

VisibleRows ContentView::visibleRows() const {
    VisibleRows visible{scanner_.sharedGroups(), {}};
    for (const auto& group : *visible.keeper) {
        if (categoryFilter_ && group.category != *categoryFilter_) continue;
        if (fixFilter_ && group.fix != *fixFilter_) continue;
        visible.rows.push_back(&group);
    }
    sortRows(visible.rows, sortOrder_);
    return visible;
}

std::size_t ContentView::hitCount() const {
    std::size_t count = 0;
    for (const auto& group : scanner_.groups()) count += group.hits.size();
    return count;
}

std::size_t ContentView::categoryCount(Category category) const {
    return static_cast<std::size_t>(std::ranges::count(
        scanner_.groups().begin(), scanner_.groups().end(), category, &BundleGroup::category));
}

std::size_t ContentView::fixCount(Fix fix) const {
    return static_cast<std::size_t>(std::ranges::count(
        scanner_.groups().begin(), scanner_.groups().end(), fix, &BundleGroup::fix));
}

const BundleGroup* ContentView::groupWithRoot(std::string_view root) const {
    const auto& groups = scanner_.groups();
    const auto found = std::ranges::find(groups.begin(), groups.end(), root, &BundleGroup::root);
    return found == groups.end() ? nullptr : &*found;
}

bool ContentView::isDeletable(const BundleGroup& group) const {
    return scanner_.isRemovable(group);
}

std::vector<const BundleGroup*> ContentView::deletableSelection() const {
    auto groups = selectedGroups();
    std::erase_if(groups, [this](const BundleGroup* group) { return !isDeletable(*group); });
    return groups;
}

void ContentView::setSelection(RootSet selection) {
    if (selection == selection_) return;
    change(selection_, std::move(selection), ContentField::selection);
    selectionChanged();
}

void ContentView::selectionChanged() {
    const auto removed = std::erase_if(
        selection_, [this](const std::string& root) { return scanner_.isAppleSigned(root); });
    if (removed > 0) observers_.notify(ContentField::selection);
    change(removalHint_, {}, ContentField::removalHint);
}

double ContentView::tableFontSize() const {
    return smallFontSize + fontDelta();
}

double ContentView::columnWidth(double base) const {
    return base * tableFontSize() / smallFontSize * widthReserve;
}

std::vector<std::string> ContentView::scanRoots() const {
    return vestigo::scanRoots(customRoot_, scope_, home_);
}

void ContentView::scanPressed() {
    scanner_.startScan(scanRoots());
}

void ContentView::chooseFolder(std::string path) {
    change(customRoot_, std::optional(std::move(path)), ContentField::customRoot);
}

void ContentView::clearFolder() {
    change(customRoot_, {}, ContentField::customRoot);
}

void ContentView::exportCSV() {
    const auto window = anchor_.ref();
    const auto path = desktop_->chooseCsvFile("vestigo-binaries.csv");
    // The window may have been closed while the panel was open.
    if (!path || window.expired()) return;
    const auto text = csvText(scanner_.groups(), scanner_.signatures());
    static_cast<void>(exportFiles_->replace(*path, text, Access::usual));
}

void ContentView::requestDeleteOfSelection() {
    if (!deletableSelection().empty()) return setShowDeleteConfirm(true);
    // Observers are notified even if the text is the same, so that it is announced once more.
    removalHint_ = hintForSelection();
    observers_.notify(ContentField::removalHint);
}

std::string ContentView::hintForSelection() const {
    const auto selected = selectedGroups();
    if (selected.empty()) return "Nothing that can be removed is selected.";
    const auto areAll = [&selected](auto test) { return std::ranges::all_of(selected, test); };
    if (areAll([](const BundleGroup* group) { return isProtected(group->root); })) {
        return "The system protects what is selected (SIP); it cannot be removed.";
    }
    if (areAll([](const BundleGroup* group) { return group->fix == Fix::keep; })) {
        return "What is selected also runs natively (Keep); it is not removed.";
    }
    return "What is selected is protected (SIP) or also runs natively (Keep); it is not removed.";
}

std::vector<const BundleGroup*> ContentView::selectedGroups() const {
    std::vector<const BundleGroup*> selected;
    if (selection_.empty()) return selected;
    for (const auto& group : scanner_.groups()) {
        if (selection_.contains(group.root)) selected.push_back(&group);
    }
    return selected;
}

void ContentView::requestDeleteOfRow(const BundleGroup& group) {
    setSelection({group.root});
    if (isDeletable(group)) setShowDeleteConfirm(true);
}

void ContentView::setShowDeleteConfirm(bool value) {
    change(showDeleteConfirm_, value, ContentField::showDeleteConfirm);
}

RemovalEvents ContentView::removalEvents() {
    return {.checkingChanged = [this] { observers_.notify(ContentField::checkingRemoval); },
            .ended =
                [this](std::optional<std::string> message) {
                    if (message) showAlert(std::move(*message));
                    removalEnded();
                },
            .cleanupFailed = [this](std::string message) { showAlert(std::move(message)); }};
}

void ContentView::planRemoval() {
    removal_.open(deletableSelection());
    notifyPlan();
}

void ContentView::notifyPlan() {
    observers_.notify(ContentField::plannedGroups);
    observers_.notify(ContentField::leftovers);
}

void ContentView::updatePlan() {
    if (plannedGroups().empty()) return;
    if (!removal_.retain(deletableSelection())) return;
    notifyPlan();
    if (!plannedGroups().empty()) return;
    auto why = removal_.withdrawalReason();
    cancelDelete();
    if (why) showAlert(std::move(*why));
}

void ContentView::setLeftoverOn(const std::string& path, bool on) {
    removal_.setLeftoverOn(path, on);
    observers_.notify(ContentField::leftovers);
}

void ContentView::cancelDelete() {
    setShowDeleteConfirm(false);
    removal_.close();
    notifyPlan();
}

void ContentView::confirmDelete() {
    if (showDeleteConfirm_) removal_.confirmDelete();
}

void ContentView::removalEnded() {
    setSelection({});
    cancelDelete();
}

void ContentView::inspect(const BundleGroup& group) {
    change(inspectGroup_, std::optional(group), ContentField::inspectGroup);
}

void ContentView::closeInspect() {
    change(inspectGroup_, {}, ContentField::inspectGroup);
}

void ContentView::requestReinstall(const BundleGroup& group) {
    change(updateTarget_, std::optional(group), ContentField::updateTarget);
    setUpdateLog({});
}

/// A running reinstall goes on. Only the removal of the old copy, if one was asked for, is
/// withdrawn.
void ContentView::closeReinstall() {
    reinstall_.withdraw();
    change(updateTarget_, {}, ContentField::updateTarget);
    setUpdateLog({});
}

std::string ContentView::updateFormula() const {
    if (!updateTarget_) return {};
    return formulaName(updateTarget_->root).value_or(std::string(updateTarget_->name()));
}

void ContentView::startReinstall() {
    if (updateTarget_) reinstall_.startReinstall({updateFormula(), updateTarget_->root});
}

/// The old copy is offered only after the native build has been installed in this session.
std::optional<std::string> ContentView::removableOldCopy() const {
    if (!updateTarget_ || !updatedIDs_.contains(updateTarget_->root)) return std::nullopt;
    return oldIntelCopyPath(updateTarget_->root);
}

void ContentView::confirmRemoveOldCopy() {
    if (const auto path = removableOldCopy()) reinstall_.confirmRemoveOldCopy(*path);
}

void ContentView::setUpdateLog(std::string text) {
    updateLog_.replace(std::move(text));
    observers_.notify(ContentField::updateLog);
}

void ContentView::apply(const ReinstallReport& report) {
    change(updating_, report.running, ContentField::updating);
    if (report.newLog) updateLog_.replace({});
    updateLog_.append(report.log);
    observers_.notify(ContentField::updateLog);
    if (report.end && report.end->status == 0 &&
        updatedIDs_.insert(report.end->target.root).second) {
        observers_.notify(ContentField::updatedIDs);
    }
    // Several reinstalls may end before the user dismisses the alert; no notice may hide another.
    if (!report.notice.empty())
        showAlert(alert_ ? *alert_ + "\n\n" + report.notice : report.notice);
}

std::optional<std::string> ContentView::runningReinstallNotice() const {
    const auto* const target = reinstall_.running();
    return target ? std::optional(continuesText(*target)) : std::nullopt;
}

void ContentView::copyPath(const std::string& root, bool showFeedback) {
    desktop_->copyText(root);
    if (showFeedback) change(copiedPath_, std::optional(root), ContentField::copiedPath);
}

void ContentView::copySelectedPaths() {
    auto groups = selectedGroups();
    sortRows(groups, sortOrder_);
    std::string paths;
    for (const auto* const group : groups) {
        if (!paths.empty()) paths += '\n';
        paths += group->root;
    }
    desktop_->copyText(paths);
}

void ContentView::reveal(const std::string& root) {
    desktop_->reveal(root);
}

void ContentView::showAlert(std::string message) {
    change(alert_, std::optional(std::move(message)), ContentField::alert);
}

void ContentView::dismissAlert() {
    change(alert_, {}, ContentField::alert);
}

void ContentView::windowAppeared() {
    if (!acceptedDisclaimer()) change(showDisclaimer_, true, ContentField::showDisclaimer);
}

void ContentView::acceptDisclaimer() {
    settings_->setAcceptedDisclaimer(true);
    change(showDisclaimer_, false, ContentField::showDisclaimer);
}

void ContentView::quit() {
    terminate_();
}

void ContentView::showAboutRequested() {
    change(showAbout_, true, ContentField::showAbout);
}

void ContentView::closeAbout() {
    change(showAbout_, false, ContentField::showAbout);
}

void ContentView::showHelpRequested() {
    change(showHelp_, true, ContentField::showHelp);
}

void ContentView::closeHelp() {
    change(showHelp_, false, ContentField::showHelp);
}

}  // namespace vestigo
