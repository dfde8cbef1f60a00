// The model of one window: its engine, its state, and every rule that derives something from them.
// Knows no toolkit; the widgets show what it says and call its commands.
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
#include "ui/model/notification_center.h"
#include "ui/model/row_order.h"
#include "ui/model/settings.h"
#include "ui/model/update_log.h"

namespace vestigo {

/// Groups in the order they are shown. The references stay good as long as this value lives, also
/// when the Scanner starts its groups over; what they refer to is current until then.
struct VisibleRows {
    std::shared_ptr<const GroupList> keeper;
    std::vector<const BundleGroup*> rows;
};

/// What a window is given to work with.
struct ContentServices {
    ScannerServices scanner;
    std::shared_ptr<Desktop> desktop;
    std::shared_ptr<Files> files;
    std::shared_ptr<Files> exportFiles;  ///< Of the world that the user exports to.
    std::shared_ptr<Settings> settings;
    std::shared_ptr<NotificationCenter> notifications;
    /// The home is also that of the scope's folders that begin with "~".
    LeftoverPlaces places;
    std::function<void()> terminate;  ///< Asks the application to quit.
    // What the user's actions need.
    std::shared_ptr<BundleReader> bundles;
    std::shared_ptr<OwnerAuthentication> authentication;
    std::shared_ptr<AdministratorCleanup> cleanup;
    std::shared_ptr<LastingProcesses> processes;
    std::shared_ptr<Links> links;
    HomebrewPlaces homebrew;
    std::string reinstallFolder;  ///< Where reinstalls are kept until their end has been told.
};

/// The fields of the window, as named to observers.
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

    /// Absolute path of a folder the user chose; while present a scan covers only this folder.
    [[nodiscard]] const std::optional<std::string>& customRoot() const { return customRoot_; }
    [[nodiscard]] Scope scope() const { return scope_; }
    void setScope(Scope scope);
    /// Absent: all.
    [[nodiscard]] std::optional<Category> categoryFilter() const { return categoryFilter_; }
    void setCategoryFilter(std::optional<Category> category);
    [[nodiscard]] std::optional<Fix> fixFilter() const { return fixFilter_; }
    void setFixFilter(std::optional<Fix> fix);
    /// Primary key first.
    [[nodiscard]] const std::vector<SortComparator>& sortOrder() const { return sortOrder_; }
    void setSortOrder(std::vector<SortComparator> order);
    /// A click on the header of a column: its key becomes the primary one, ascending; when it is
    /// that already, it turns round. Earlier keys stay behind it.
    void sortBy(SortKey key);
    /// 0, 4 or 8.
    [[nodiscard]] int fontDelta() const { return settings_->fontDelta(); }
    void setFontDelta(int value) { settings_->setFontDelta(value); }

    /// The roots of the selected rows, also of those that a filter hides.
    [[nodiscard]] const RootSet& selection() const { return selection_; }
    /// Calls `selectionChanged`.
    void setSelection(RootSet selection);
    /// Apple-signed roots leave the selection.
    void selectionChanged();

    /// The groups that pass both filters, sorted stably by `sortOrder`.
    [[nodiscard]] VisibleRows visibleRows() const;
    /// Counts are over all groups, shown or not.
    [[nodiscard]] std::size_t groupCount() const { return scanner_.groups().size(); }
    [[nodiscard]] std::size_t hitCount() const;
    [[nodiscard]] std::size_t categoryCount(Category category) const;
    [[nodiscard]] std::size_t fixCount(Fix fix) const;
    /// The group with this root; null when there is none. Good until the groups start over.
    [[nodiscard]] const BundleGroup* groupWithRoot(std::string_view root) const;

    /// Neither protected nor Apple-signed nor to be kept, as far as the findings tell.
    [[nodiscard]] bool isDeletable(const BundleGroup& group) const;
    /// What a removal would begin with, in the Scanner's order. Good until the groups start over.
    [[nodiscard]] std::vector<const BundleGroup*> deletableSelection() const;

    /// The text of table and status bar, in points.
    [[nodiscard]] double tableFontSize() const;
    /// In points, for a width that was laid out for text of 13 points.
    [[nodiscard]] double columnWidth(double base) const;

    [[nodiscard]] std::vector<std::string> scanRoots() const;
    void scanPressed();
    void chooseFolder(std::string path);
    void clearFolder();
    /// Asks where, then writes the CSV text of all groups. Blocks while it asks; a write that fails
    /// leaves what was there and is not reported.
    void exportCSV();

    /// Opens the confirmation when something in the selection can be removed; else gives a hint.
    void requestDeleteOfSelection();
    /// Why the last request opened nothing; empty once the selection or the findings have changed.
    [[nodiscard]] const std::string& removalHint() const { return removalHint_; }
    /// Selects just this row first.
    void requestDeleteOfRow(const BundleGroup& group);
    [[nodiscard]] bool showDeleteConfirm() const { return showDeleteConfirm_; }
    /// Fixes what the confirmation is about: the deletable selection, and what its applications
    /// keep elsewhere, looked for anew. Earlier choices are dropped. Blocking.
    void planRemoval();
    /// The roots that the confirmation is about, in the Scanner's order. Nothing joins them; what
    /// is no longer deletable leaves.
    [[nodiscard]] const std::vector<std::string>& plannedGroups() const {
        return removal_.plan().groups;
    }
    [[nodiscard]] const std::vector<Leftover>& leftovers() const {
        return removal_.plan().leftovers;
    }
    /// Ignored for a path that is not among them.
    void setLeftoverOn(const std::string& path, bool on);
    /// Closes the confirmation; nothing is removed.
    void cancelDelete();
    /// Asks the owner, then moves the planned groups and the leftovers that are on to the Trash.
    /// The confirmation stays open until then.
    void confirmDelete();
    /// The owner has agreed; what is to go is still being looked into.
    [[nodiscard]] bool checkingRemoval() const { return removal_.checking(); }

    [[nodiscard]] const std::optional<BundleGroup>& inspectGroup() const { return inspectGroup_; }
    void inspect(const BundleGroup& group);
    void closeInspect();

    [[nodiscard]] const std::optional<BundleGroup>& updateTarget() const { return updateTarget_; }
    void requestReinstall(const BundleGroup& group);
    void closeReinstall();
    /// What is reinstalled: the formula of the target's root, or its name where that tells none.
    [[nodiscard]] std::string updateFormula() const;
    /// Reinstalls the target's formula.
    void startReinstall();
    [[nodiscard]] const UpdateLog& updateLog() const { return updateLog_; }
    [[nodiscard]] bool updating() const { return updating_; }
    /// What the user is to know when this window is not there any more. Absent: nothing.
    [[nodiscard]] std::optional<std::string> whatGoesOn() const;
    /// The roots reinstalled as arm64 since the program started.
    [[nodiscard]] const RootSet& updatedIDs() const { return updatedIDs_; }
    /// What the Intel installation keeps of the target, once the target has been reinstalled as
    /// arm64.
    [[nodiscard]] std::optional<std::string> removableOldCopy() const;
    /// Asks the owner, then moves that to the Trash and removes the links that led into it.
    void confirmRemoveOldCopy();

    /// The root whose row's copy button was used last.
    [[nodiscard]] const std::optional<std::string>& copiedPath() const { return copiedPath_; }
    void copyPath(const std::string& root, bool showFeedback);
    /// Of all selected groups, also of those that a filter hides, one a line in the table's order.
    void copySelectedPaths();
    void reveal(const std::string& root);

    /// A message on screen until it is dismissed; a later one takes its place.
    [[nodiscard]] const std::optional<std::string>& alert() const { return alert_; }
    void showAlert(std::string message);
    void dismissAlert();

    /// Opens the disclaimer until it has been accepted once.
    void windowAppeared();
    [[nodiscard]] bool acceptedDisclaimer() const { return settings_->acceptedDisclaimer(); }
    [[nodiscard]] bool showDisclaimer() const { return showDisclaimer_; }
    void acceptDisclaimer();
    /// The disclaimer's other answer. Nothing is stored.
    void quit();
    [[nodiscard]] bool showAbout() const { return showAbout_; }
    void showAboutRequested();
    void closeAbout();
    [[nodiscard]] bool showHelp() const { return showHelp_; }
    void showHelpRequested();
    void closeHelp();

    /// Calls `observer` after each change of a field. The Scanner's fields have observers of their
    /// own.
    [[nodiscard]] Subscription subscribe(std::function<void(ContentField)> observer);

private:
    template <class Value>
    void change(Value& field, Value value, ContentField name);

    void setShowDeleteConfirm(bool value);
    [[nodiscard]] std::vector<const BundleGroup*> selectedGroups() const;
    [[nodiscard]] std::string whyNothingIsRemovable() const;
    [[nodiscard]] RemovalEvents removalEvents();
    /// What is no longer deletable leaves the plan with its leftovers; choices stay.
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
    std::shared_ptr<const void> alive_ = std::make_shared<char>();
};

}  // namespace vestigo
