// The model of one window: its Scanner, its state, and every rule that derives what is shown from
// them. It includes no toolkit; the widgets read it, observe it and call its commands.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "actions/leftover_finder.h"
#include "actions/reinstall.h"
#include "actions/removal.h"
#include "engine/observers.h"
#include "engine/records.h"
#include "engine/scanner.h"
#include "platform/bundle_information.h"
#include "platform/desktop.h"
#include "platform/files.h"
#include "platform/lasting_processes.h"
#include "platform/links.h"
#include "platform/owner_authentication.h"
#include "platform/paths.h"
#include "platform/tasks.h"
#include "ui/model/notification_center.h"
#include "ui/model/row_order.h"
#include "ui/model/settings.h"
#include "ui/model/update_log.h"

namespace vestigo {

/// Groups in the order they are shown. The pointers stay valid as long as this value lives, even
/// when the Scanner begins a new list; the groups are up to date only until then.
struct VisibleRows {
    std::shared_ptr<const GroupList> keeper;  ///< Owns the groups.
    std::vector<const BundleGroup*> rows;
};

/// The services and places that a window works with. All pointers are set.
struct ContentServices {
    ScannerServices scanner;
    std::shared_ptr<Desktop> desktop;
    std::shared_ptr<Files> files;
    /// Writes exports to the real disk, also in the demonstration.
    std::shared_ptr<Files> exportFiles;
    std::shared_ptr<Settings> settings;
    std::shared_ptr<NotificationCenter> notifications;
    /// The home in it also stands for "~" in the folders of the scope.
    LeftoverPlaces places;
    std::function<void()> terminate;  ///< Asks the application to quit.
    // Removal and reinstall need the following.
    std::shared_ptr<BundleReader> bundles;
    std::shared_ptr<OwnerAuthentication> authentication;
    std::shared_ptr<AdministratorCleanup> cleanup;
    std::shared_ptr<LastingProcesses> processes;
    std::shared_ptr<Links> links;
    HomebrewPlaces homebrew;
    std::string reinstallFolder;  ///< Keeps each reinstall until its end has been reported.
};

/// Names the field that has changed to an observer.
enum class ContentField : std::uint8_t {
    customRoot,
    scope,
    alert,
    sortOrder,
    categoryFilter,
    fixFilter,
    selection,
    copiedPath,
    showDeleteConfirm,
    showDisclaimer,
    showAbout,
    showHelp,
    plannedGroups,
    leftovers,
    checkingRemoval,
    inspectGroup,
    updateTarget,
    updateLog,
    updating,
    updatedIDs,
    fontDelta,
    removalHint,
};

/// Main thread only. A sheet is open exactly while its field is set.
class ContentView {
public:
    /// Creates the Scanner, which migrates and loads the saved scan.
    explicit ContentView(const ContentServices& services);
    ~ContentView();
    ContentView(const ContentView&) = delete;
    ContentView& operator=(const ContentView&) = delete;

    [[nodiscard]] Scanner& scanner() { return scanner_; }
    [[nodiscard]] const Scanner& scanner() const { return scanner_; }

    /// Absolute path of the folder that the user chose; while present, a scan covers only it.
    [[nodiscard]] const std::optional<std::string>& customRoot() const { return customRoot_; }
    [[nodiscard]] Scope scope() const { return scope_; }
    void setScope(Scope scope);
    /// An absent filter lets every group pass.
    [[nodiscard]] std::optional<Category> categoryFilter() const { return categoryFilter_; }
    void setCategoryFilter(std::optional<Category> category);
    [[nodiscard]] std::optional<Fix> fixFilter() const { return fixFilter_; }
    void setFixFilter(std::optional<Fix> fix);
    /// Primary key first.
    [[nodiscard]] const std::vector<SortComparator>& sortOrder() const { return sortOrder_; }
    void setSortOrder(std::vector<SortComparator> order);
    /// Makes `key` the primary one, ascending; when it already is, reverses its direction. The
    /// earlier keys follow it.
    void sortBy(SortKey key);
    /// 0, 4 or 8.
    [[nodiscard]] int fontDelta() const { return settings_->fontDelta(); }
    void setFontDelta(int value) { settings_->setFontDelta(value); }

    /// The roots of the selected rows, including rows that a filter hides.
    [[nodiscard]] const RootSet& selection() const { return selection_; }
    /// Calls `selectionChanged`.
    void setSelection(RootSet selection);
    /// Takes roots that Apple signed out of the selection.
    void selectionChanged();

    /// The groups that pass both filters, sorted stably by `sortOrder`.
    [[nodiscard]] VisibleRows visibleRows() const;
    /// The counts cover all groups, including those that a filter hides.
    [[nodiscard]] std::size_t groupCount() const { return scanner_.groups().size(); }
    [[nodiscard]] std::size_t hitCount() const;
    [[nodiscard]] std::size_t categoryCount(Category category) const;
    [[nodiscard]] std::size_t fixCount(Fix fix) const;
    /// The group with this root, or null. Valid until the Scanner begins a new list.
    [[nodiscard]] const BundleGroup* groupWithRoot(std::string_view root) const;

    /// True for a group that is neither protected nor signed by Apple nor to be kept. Judges by the
    /// findings alone; the disk is looked at again before anything is removed.
    [[nodiscard]] bool isDeletable(const BundleGroup& group) const;
    /// The selected groups that can be removed, in the Scanner's order. Valid until the Scanner
    /// begins a new list.
    [[nodiscard]] std::vector<const BundleGroup*> deletableSelection() const;

    /// The size of the text of table and status bar, in points.
    [[nodiscard]] double tableFontSize() const;
    /// Scales a width that was laid out for text of 13 points to the present text size. In points.
    [[nodiscard]] double columnWidth(double base) const;

    [[nodiscard]] std::vector<std::string> scanRoots() const;
    void scanPressed();
    void chooseFolder(std::string path);
    void clearFolder();
    /// Asks the user for a file, then writes all groups to it as CSV. Blocks while it asks. A
    /// failed write leaves the file as it was and is not reported.
    void exportCSV();

    /// Opens the confirmation when the selection holds a removable group, else sets `removalHint`.
    void requestDeleteOfSelection();
    /// Says why the last request opened nothing. Empty once the selection or findings have changed.
    [[nodiscard]] const std::string& removalHint() const { return removalHint_; }
    /// Selects only this row, then opens the confirmation if the row can be removed.
    void requestDeleteOfRow(const BundleGroup& group);
    [[nodiscard]] bool showDeleteConfirm() const { return showDeleteConfirm_; }
    /// Makes a new plan for the confirmation: the deletable selection, and the leftovers that it
    /// finds for it on the disk. Drops earlier choices. Blocks while it searches.
    void planRemoval();
    /// The roots in the plan, in the Scanner's order. None is ever added; a root leaves when it is
    /// no longer deletable.
    [[nodiscard]] const std::vector<std::string>& plannedGroups() const {
        return removal_.plan().groups;
    }
    [[nodiscard]] const std::vector<Leftover>& leftovers() const {
        return removal_.plan().leftovers;
    }
    /// Ignores a path that is not among `leftovers`.
    void setLeftoverOn(const std::string& path, bool on);
    /// Closes the confirmation and removes nothing.
    void cancelDelete();
    /// Asks the owner to authenticate, then moves the planned groups and the leftovers that are on
    /// to the Trash. The confirmation closes when that has ended.
    void confirmDelete();
    /// True while the owner has agreed and the planned items are still being examined.
    [[nodiscard]] bool checkingRemoval() const { return removal_.checking(); }

    [[nodiscard]] const std::optional<BundleGroup>& inspectGroup() const { return inspectGroup_; }
    void inspect(const BundleGroup& group);
    void closeInspect();

    [[nodiscard]] const std::optional<BundleGroup>& updateTarget() const { return updateTarget_; }
    void requestReinstall(const BundleGroup& group);
    void closeReinstall();
    /// The Homebrew formula of the target's root; the target's name where the root gives none.
    [[nodiscard]] std::string updateFormula() const;
    /// Reinstalls the target's formula.
    void startReinstall();
    [[nodiscard]] const UpdateLog& updateLog() const { return updateLog_; }
    [[nodiscard]] bool updating() const { return updating_; }
    /// Tells the user about a reinstall that outlives this window. Absent when none is running.
    [[nodiscard]] std::optional<std::string> runningReinstallNotice() const;
    /// The roots that were reinstalled as arm64 since the program started.
    [[nodiscard]] const RootSet& updatedIDs() const { return updatedIDs_; }
    /// The path of the target in the Intel installation of Homebrew. Absent until the target has
    /// been reinstalled as arm64.
    [[nodiscard]] std::optional<std::string> removableOldCopy() const;
    /// Asks the owner to authenticate, then moves `removableOldCopy` to the Trash and removes the
    /// links that led into it.
    void confirmRemoveOldCopy();

    /// The root whose row's copy button was used last.
    [[nodiscard]] const std::optional<std::string>& copiedPath() const { return copiedPath_; }
    void copyPath(const std::string& root, bool showFeedback);
    /// Copies the paths of all selected groups, including hidden ones, one a line in table order.
    void copySelectedPaths();
    void reveal(const std::string& root);

    /// The message on screen, until it is dismissed or a later one replaces it.
    [[nodiscard]] const std::optional<std::string>& alert() const { return alert_; }
    void showAlert(std::string message);
    void dismissAlert();

    /// Opens the disclaimer until it has been accepted once.
    void windowAppeared();
    [[nodiscard]] bool acceptedDisclaimer() const { return settings_->acceptedDisclaimer(); }
    [[nodiscard]] bool showDisclaimer() const { return showDisclaimer_; }
    void acceptDisclaimer();
    /// Declines the disclaimer: asks the application to quit and stores nothing.
    void quit();
    [[nodiscard]] bool showAbout() const { return showAbout_; }
    void showAboutRequested();
    void closeAbout();
    [[nodiscard]] bool showHelp() const { return showHelp_; }
    void showHelpRequested();
    void closeHelp();

    /// Calls `observer` after each change of a field of this class. For the Scanner's fields,
    /// observe the Scanner.
    [[nodiscard]] Subscription subscribe(std::function<void(ContentField)> observer);

private:
    template <class Value>
    void change(Value& field, Value value, ContentField name);

    void setShowDeleteConfirm(bool value);
    [[nodiscard]] std::vector<const BundleGroup*> selectedGroups() const;
    [[nodiscard]] std::string hintForSelection() const;
    [[nodiscard]] RemovalEvents removalEvents();
    /// Takes groups that are no longer deletable out of the plan, with their leftovers.
    void updatePlan();
    void notifyPlan();
    void removalEnded();
    void setUpdateLog(std::string text);
    void apply(const ReinstallReport& report);

    Scanner scanner_;
    std::shared_ptr<Desktop> desktop_;
    std::shared_ptr<Files> files_;
    std::shared_ptr<Files> exportFiles_;
    std::shared_ptr<Settings> settings_;
    std::string home_;
    std::function<void()> terminate_;
    Removal removal_;
    Reinstall reinstall_;

    std::optional<std::string> customRoot_;
    Scope scope_ = Scope::smart;
    std::optional<std::string> alert_;
    std::vector<SortComparator> sortOrder_{{SortKey::categoryName, false}};
    std::optional<Category> categoryFilter_;
    std::optional<Fix> fixFilter_;
    RootSet selection_;
    std::optional<std::string> copiedPath_;
    bool showDeleteConfirm_ = false;
    std::string removalHint_;
    bool showDisclaimer_ = false;
    bool showAbout_ = false;
    bool showHelp_ = false;
    std::optional<BundleGroup> inspectGroup_;
    std::optional<BundleGroup> updateTarget_;
    UpdateLog updateLog_;
    bool updating_ = false;
    RootSet updatedIDs_;

    Observers<ContentField> observers_;
    std::vector<Subscription> subscriptions_;
    WeakAnchor<ContentView> anchor_{*this};
};

}  // namespace vestigo
