// The engine object: it holds the results of the last scan, runs the next one, reads signatures,
// removes items and keeps the saved scan in step.
#pragma once

#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/file_memory.h"
#include "engine/observers.h"
#include "engine/previous_hits.h"
#include "engine/records.h"
#include "engine/regrouping.h"
#include "engine/removal_check.h"
#include "platform/cleanup_trash.h"
#include "platform/directory_reader.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "platform/tasks.h"
#include "platform/trash.h"

namespace vestigo {

/// The place where the last scan is saved. Main thread only. A failure is not reported: what cannot
/// be read is absent, and a failed write leaves the previous record.
class ScanStore {
public:
    virtual ~ScanStore() = default;
    /// The saved record; absent when there is no usable one. Blocking.
    [[nodiscard]] virtual std::optional<ScanFile> readScanFile() = 0;
    /// Replaces the saved record.
    virtual void writeScanFile(const ScanFile& record) = 0;
};

/// Keeps the Scanners of a program, one for each window, from undoing each other's work. It numbers
/// scans in the order in which they begin: a scan may replace the saved one only if it began later,
/// or if it is the same scan with newer signatures or with items removed. So an older window whose
/// signatures arrive late does not overwrite another window's newer scan. It also tells all
/// Scanners when one of them has removed something. Main thread only.
class ScanOrder {
public:
    /// Gives a scan that begins now its number, which is higher than that of every scan before.
    [[nodiscard]] std::uint64_t begin() { return ++begun_; }
    /// The number of the scan that is saved; 0 when an earlier launch of the program saved it.
    [[nodiscard]] std::uint64_t saved() const { return saved_; }
    /// Whether the results of this scan may replace the saved ones. If so, the scan counts as the
    /// saved one from now on, and the caller saves it.
    [[nodiscard]] bool claim(std::uint64_t scan) {
        if (scan < saved_) return false;
        saved_ = scan;
        return true;
    }

    /// Tells every Scanner that these roots have left the disk, so that it drops its hits under
    /// them.
    void announceRemoved(const RootSet& removed) { removed_.notify(removed); }
    [[nodiscard]] Subscription subscribe(std::function<void(const RootSet& removed)> observer) {
        return removed_.subscribe(std::move(observer));
    }

private:
    Observers<const RootSet&> removed_;
    std::uint64_t begun_ = 0;
    std::uint64_t saved_ = 0;
};

/// The services that a Scanner works with. Those that may be absent say so.
struct ScannerServices {
    std::shared_ptr<MainQueue> main;
    std::shared_ptr<BackgroundTasks> background;
    std::shared_ptr<DirectoryReader> reader;
    std::shared_ptr<ScanStore> store;
    /// Reads the signature summary of a group root. It is called on background threads, several at
    /// a time. When it is empty, there are no signature passes.
    std::function<SignInfo(const std::string& root)> inspect;
    /// Is called once, at construction, before the saved scan is read. May be empty.
    std::function<void()> migrate;
    /// The time in seconds since 2001-01-01 00:00:00 UTC.
    std::function<double()> now;
    /// The priority at which scans and signature passes run.
    Priority priority = Priority::utility;
    /// Trash and files are needed for removals. Without them nothing can be removed.
    std::shared_ptr<Trash> trash = {};
    std::shared_ptr<Files> files = {};
    /// Opens the memory of the files that are no Mach-O files for one scan. It is called on the
    /// scan's background thread. When it is empty, scans work without a memory.
    std::function<std::unique_ptr<FileMemory>()> memory = {};
    /// Makes the memory for the checks of one item (see `CheckServices::makeMemory`).
    std::function<std::unique_ptr<FileMemory>()> makeCheckMemory = {};
    /// Shared by all Scanners that share the store.
    std::shared_ptr<ScanOrder> order = std::make_shared<ScanOrder>();
    /// Reads the saved scan in place of `store`, so that a window need not wait for a large one. It
    /// is called once, on a background thread, while the main thread may write to `store`. When it
    /// is empty, the saved scan is read at construction.
    std::function<std::optional<ScanFile>()> readSavedScan = {};
};

/// Names the field that has changed to observers of a Scanner.
enum class ScannerField : std::uint8_t {
    allHits,
    groups,
    signatures,
    scanning,
    scannedCount,
    currentPath,
    lastScanDate,
    lastRoots,
    intelOnly,
};

/// The items that may be removed, out of those that were asked about.
struct AllowedItems {
    std::vector<CleanupItem> items;      ///< In the order in which they were asked about.
    std::optional<std::string> refusal;  ///< The reason why the first of the others must stay.
};

/// Reads the saved results of an earlier scan. It is called on a background thread while the next
/// scan is already walking. The result is absent when there is nothing usable.
using EarlierScan = std::function<std::optional<ScanFile>()>;

/// Main thread only. It may be destroyed at any time, but not from within an observer. Background
/// work then ends soon and its results are dropped.
class Scanner {
public:
    /// Runs the migration, loads the saved scan and starts a signature pass for what it lacks. With
    /// `readSavedScan`, the last two follow later.
    explicit Scanner(ScannerServices services);
    ~Scanner();
    Scanner(const Scanner&) = delete;
    Scanner& operator=(const Scanner&) = delete;

    /// Every Mach-O file of the last scan, in walk order.
    [[nodiscard]] const HitList& allHits() const { return results_.hits; }
    /// Grows in place while a scan runs; a new list takes its place when the groups start over.
    [[nodiscard]] const GroupList& groups() const { return regrouping_.groups(); }
    /// The same list, for callers that keep references into it.
    [[nodiscard]] std::shared_ptr<const GroupList> sharedGroups() const {
        return regrouping_.sharedGroups();
    }
    [[nodiscard]] const SignatureMap& signatures() const { return *results_.signatures; }
    [[nodiscard]] bool scanning() const { return scanning_; }
    /// How many candidate files the running or last scan has seen.
    [[nodiscard]] std::int64_t scannedCount() const { return scannedCount_; }
    /// The file that the scan has reached; empty when no scan runs.
    [[nodiscard]] const std::string& currentPath() const { return currentPath_; }
    /// When the last scan ended, in seconds since 2001-01-01 00:00:00 UTC.
    [[nodiscard]] std::optional<double> lastScanDate() const { return lastScanDate_; }
    [[nodiscard]] const std::vector<std::string>& lastRoots() const { return results_.roots; }
    [[nodiscard]] bool intelOnly() const { return intelOnly_; }

    /// How many signature passes are still running.
    [[nodiscard]] std::size_t signaturePasses() const { return passes_; }
    /// Whether the saved scan is still being read. Until then the results are empty.
    [[nodiscard]] bool loading() const { return saved_ != nullptr; }
    /// True until the walk has reported its end, also for a moment after `stop`.
    [[nodiscard]] bool walking() const { return walking_; }

    /// Replaces the results by those of an earlier scan, without grouping them: a scan that follows
    /// then reads only files that have changed. Ignored while a scan runs.
    void adopt(ScanFile record);
    /// Starts a scan of these roots. Ignored while a scan runs. A scan that runs out of memory ends
    /// with what it has found so far, which is not saved. `rootsAreNamed` is passed on to the walk
    /// (see `WalkRequest`). If `earlier` is given, its hits are used in place of the current ones
    /// to recognise unchanged files, and its signatures join the current ones; the scan then does
    /// not end before `earlier` has been read, unless it is stopped.
    void startScan(std::vector<std::string> roots, bool rootsAreNamed = false,
                   EarlierScan earlier = {});
    /// Has the scan end within a moment. The hits found by then are still reported.
    void stop();
    void setIntelOnly(bool value);
    /// Rebuilds the groups from the hits and signatures.
    void regroup();
    /// Starts a background pass that reads the signatures of the group roots that have none yet.
    void refreshSignatures();
    /// Saves the results, unless a later scan is saved, these are those of a scan that ran out of
    /// memory, or the saved scan is still being read.
    void saveCache();
    [[nodiscard]] bool isAppleSigned(const std::string& root) const;
    /// Drops the hit at `path` and the hits below it. The groups follow with the next `regroup`.
    void pruneHits(const std::string& path);

    /// Whether the findings allow the group to be removed: it is not protected, not signed by Apple
    /// and not marked to be kept.
    [[nodiscard]] bool isRemovable(const BundleGroup& group) const;
    /// Makes the checks of a removal's items, to which each item is added when the user is shown
    /// it.
    [[nodiscard]] std::unique_ptr<RemovalChecks> removalChecks() const;

    // Each of these functions checks an item on the disk again, right before it is moved. Whatever
    // the findings say, an item stays that is protected, signed by Apple or to be kept, or that is
    // not the item that was shown to the user. Without `checks` the item that is there now counts
    // as the one that was shown.

    /// Moves the groups with these roots to the Trash and drops their hits, then regroups and saves
    /// once, even when nothing was moved. Groups that are not removable are skipped. Returns the
    /// reason why the first of the other groups stayed; absent when all were moved. Blocking.
    [[nodiscard]] std::optional<std::string> trashGroups(const RootSet& roots,
                                                         const RemovalChecks* checks = nullptr);
    /// Moves one item (of a link, the link itself) to the Trash and drops the hits under it.
    /// Returns the reason when it stays, in which case nothing has changed. Blocking.
    [[nodiscard]] std::optional<std::string> trashPath(const std::string& path);
    /// Does the same for several items in turn, and regroups and saves once if hits were dropped.
    /// Returns the reason why the first item that stayed did so. Blocking.
    [[nodiscard]] std::optional<std::string> trashPaths(const std::vector<std::string>& paths,
                                                        const RemovalChecks* checks = nullptr);

    /// Tells which of several items `trashPaths` would move, for a removal by other means.
    /// Blocking.
    [[nodiscard]] AllowedItems allowedToGo(const std::vector<std::string>& paths,
                                           const RemovalChecks* checks = nullptr) const;

    /// Calls `observer` after each change of a field. The observer must not destroy the Scanner.
    [[nodiscard]] Subscription subscribe(std::function<void(ScannerField)> observer);

private:
    class ScanReports;
    class SignaturePass;
    class Guard;

    void loadCache();
    /// `number`: of the scan that was the saved one when the reading began.
    void receiveSaved(std::uint64_t number);
    void show(std::optional<ScanFile> record, std::uint64_t number);
    void receiveProgress(std::int64_t count, std::string path);
    void receiveHits(HitList added, std::int64_t count);
    void readEarlier(EarlierScan earlier);
    void receiveEarlier(SignatureMap signatures);
    void receiveFinish();
    void receiveFailure();
    /// Gives hits that were read before the earlier scan was available the creation date from
    /// there.
    void completeDates();
    void receiveSignatures(const SignatureMap& found);
    void collectAppleSigned();
    void receivePassEnd();
    /// Drops the hits under these roots in all Scanners. True when this one had any.
    bool dropHits(const RootSet& removed);
    void receiveRemoved(const RootSet& removed);
    [[nodiscard]] bool ownsSavedScan() const;
    void saveWithout(const RootSet& removed);
    void changed(ScannerField field) { observers_.notify(field); }

    ScannerServices services_;
    ScanFile results_;
    /// The roots of `signatures()` that Apple has signed. They are kept apart because there are few
    /// of them: the question whether a row is among them is then cheap.
    RootSet appleSigned_;
    Regrouping regrouping_;
    bool signaturesNewer_ = false;  ///< Signatures have changed since the groups were rebuilt.
    bool scanning_ = false;
    bool walking_ = false;
    bool cutShort_ = false;  ///< The results are those of a scan that ran out of memory.
    bool removing_ = false;  ///< This Scanner announces a removal; it regroups once, at its end.
    /// The roots removed since the running scan, or the reading of the saved one, began. Hits under
    /// them that arrive later are dropped.
    RootSet removedInScan_;
    std::int64_t scannedCount_ = 0;
    std::string currentPath_;
    std::optional<double> lastScanDate_;
    bool intelOnly_ = true;
    std::optional<CancelFlag> task_;  ///< Cancels the running scan.
    /// The hits of the earlier scan, for the running one. Null when no scan runs.
    std::shared_ptr<PreviousHits> previous_;
    /// The saved scan while it is being read; null before and after. Afterwards the results show
    /// it. A scan that starts before that uses it as its earlier scan.
    std::shared_ptr<std::future<std::optional<ScanFile>>> saved_;
    bool previousIsRead_ = true;
    bool walkIsDone_ = false;  ///< The walk has ended; the scan waits for `previous_` to be read.
    std::uint64_t scan_ = 0;   ///< The number, by `ScanOrder`, of the scan with these results.
    std::size_t passes_ = 0;
    CancelFlag closing_;  ///< Ends the signature passes when this object is destroyed.
    Observers<ScannerField> observers_;
    Subscription removals_;
    WeakAnchor<Scanner> anchor_{*this};
};

}  // namespace vestigo
