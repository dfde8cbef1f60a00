// The engine object: holds the results of the last scan, scans anew, follows signatures, saves.
#pragma once

#include <cstdint>
#include <functional>
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
#include "engine/removal_look.h"
#include "platform/cleanup_trash.h"
#include "platform/directory_reader.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "platform/tasks.h"
#include "platform/trash.h"

namespace vestigo {

/// Main thread only. Nothing fails visibly.
class ScanStore {
public:
    virtual ~ScanStore() = default;
    /// Absent when there is no usable record.
    [[nodiscard]] virtual std::optional<ScanFile> readScanFile() = 0;
    virtual void writeScanFile(const ScanFile& record) = 0;
};

/// What the Scanners of the program have to know of each other: the order in which their scans
/// began, and what one of them has removed. What is saved gives
/// way only to a scan begun later, and to what becomes of the same scan, its signatures and
/// removals: an older window whose signatures come in late does not undo the newer scan of another
/// one. Main thread only.
class ScanOrder {
public:
    /// The number of a scan that begins now, higher than that of every scan before.
    [[nodiscard]] std::uint64_t begin() { return ++begun_; }
    /// The number of the scan that is saved; 0 for one of an earlier launch.
    [[nodiscard]] std::uint64_t saved() const { return saved_; }
    /// Whether the results of this scan may take the place of what is saved; if so, they do.
    [[nodiscard]] bool claim(std::uint64_t scan) {
        if (scan < saved_) return false;
        saved_ = scan;
        return true;
    }

    /// These roots have been removed from the disk; every Scanner loses what lies under them.
    void announceRemoved(const RootSet& gone) { gone_.notify(gone); }
    [[nodiscard]] Subscription subscribe(std::function<void(const RootSet& gone)> observer) {
        return gone_.subscribe(std::move(observer));
    }

private:
    Observers<const RootSet&> gone_;
    std::uint64_t begun_ = 0;
    std::uint64_t saved_ = 0;
};

/// What the Scanner is given to work with.
struct ScannerServices {
    std::shared_ptr<MainQueue> main;
    std::shared_ptr<BackgroundTasks> background;
    std::shared_ptr<DirectoryReader> reader;
    std::shared_ptr<ScanStore> store;
    /// The signature summary of a group root; called on background threads, several at a time.
    /// Empty: there are no signature passes.
    std::function<SignInfo(const std::string& root)> inspect;
    /// Runs once at construction, before the saved scan is read. May be empty.
    std::function<void()> migrate;
    /// Seconds since 2001-01-01 00:00:00 UTC.
    std::function<double()> now;
    Priority priority = Priority::utility;  ///< Of the scan and the signature passes.
    /// What removals need. Both may be null: then nothing can be removed.
    std::shared_ptr<Trash> trash = {};
    std::shared_ptr<Files> files = {};
    /// Opens the memory of the files that are no Mach-O files, for one scan; called on its
    /// background thread. Empty: there is none.
    std::function<std::unique_ptr<FileMemory>()> memory = {};
    /// As the looks before a removal use it (`LookServices`).
    std::function<std::unique_ptr<FileMemory>()> makeLookMemory = {};
    /// One for all Scanners that share the store.
    std::shared_ptr<ScanOrder> order = std::make_shared<ScanOrder>();
};

/// The published fields, as named to observers.
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

struct AllowedItems {
    std::vector<CleanupItem> items;      ///< In their order.
    std::optional<std::string> refusal;  ///< Why the first of the others must stay.
};

/// Reads what an earlier scan has saved, on a background thread, while the next one already walks.
/// Absent: there is nothing usable.
using EarlierScan = std::function<std::optional<ScanFile>()>;

/// Main thread only. May be destroyed at any moment but in a call of an observer: what runs in the
/// background then ends soon and its results are dropped.
class Scanner {
public:
    /// Runs the migration, loads the saved scan and starts a signature pass for what it lacks.
    explicit Scanner(ScannerServices services);
    ~Scanner();
    Scanner(const Scanner&) = delete;
    Scanner& operator=(const Scanner&) = delete;

    /// Every Mach-O file of the last scan, in walk order.
    [[nodiscard]] const HitList& allHits() const { return results_.hits; }
    /// Grows in place while a scan runs; a new list takes its place when the groups start over.
    [[nodiscard]] const GroupList& groups() const { return regrouping_.groups(); }
    /// The same list for whoever keeps references into it.
    [[nodiscard]] std::shared_ptr<const GroupList> sharedGroups() const {
        return regrouping_.sharedGroups();
    }
    [[nodiscard]] const SignatureMap& signatures() const { return *results_.signatures; }
    [[nodiscard]] bool scanning() const { return scanning_; }
    /// Candidate files seen by the running or last scan.
    [[nodiscard]] std::int64_t scannedCount() const { return scannedCount_; }
    /// Empty when no scan runs.
    [[nodiscard]] const std::string& currentPath() const { return currentPath_; }
    /// Seconds since 2001-01-01 00:00:00 UTC.
    [[nodiscard]] std::optional<double> lastScanDate() const { return lastScanDate_; }
    [[nodiscard]] const std::vector<std::string>& lastRoots() const { return results_.roots; }
    [[nodiscard]] bool intelOnly() const { return intelOnly_; }

    /// Signature passes that have not ended.
    [[nodiscard]] std::size_t signaturePasses() const { return passes_; }
    /// The running scan has not handed over its end yet; also after `stop`.
    [[nodiscard]] bool walking() const { return walking_; }

    /// Makes an earlier scan's results its own, without grouping them: for a scan that follows.
    /// Ignored while a scan runs.
    void takeOver(ScanFile record);
    /// Ignored while a scan runs. A scan that runs out of memory ends with what was found by
    /// then, which is not saved. `rootsAreNamed`: as the walk's request has it. `earlier` takes the
    /// place of the hits at hand and adds its signatures to those at hand; the scan does not end
    /// before it has been read, unless it is stopped.
    void startScan(std::vector<std::string> roots, bool rootsAreNamed = false,
                   EarlierScan earlier = {});
    /// The scan ends within a moment; what it found by then is still handed over.
    void stop();
    void setIntelOnly(bool value);
    /// Starts the groups over from the hits and signatures.
    void regroup();
    /// Inspects, in the background, the group roots without a signature.
    void refreshSignatures();
    void saveCache();
    [[nodiscard]] bool isAppleSigned(const std::string& root) const;
    /// Forgets the hit at `path` and those below it. The groups follow with the next `regroup`.
    void pruneHits(const std::string& path);

    /// Whether a removal may take the group, as far as the findings tell: it is not protected, not
    /// signed by Apple and not to be kept.
    [[nodiscard]] bool isRemovable(const BundleGroup& group) const;
    /// For the items of a removal, from the moment when the user is shown them.
    [[nodiscard]] std::unique_ptr<RemovalLooks> removalLooks() const;

    // Each removal looks at the item anew right before it goes: only what was shown goes, and
    // nothing that is protected, signed by Apple or to be kept, whatever the findings say. Without
    // `looks` an item is taken as it is now.

    /// Moves the groups with these roots to the Trash and forgets their hits; then regroups and
    /// saves once, whatever came of it. What is not removable is passed over. Why the first other
    /// group stayed; absent when none did. Blocking.
    [[nodiscard]] std::optional<std::string> trashGroups(const RootSet& roots,
                                                         const RemovalLooks* looks = nullptr);
    /// Moves one item (a link itself) to the Trash and forgets the hits under it. Else why not, and
    /// nothing has changed. Blocking.
    [[nodiscard]] std::optional<std::string> trashPath(const std::string& path);
    /// The same for several, one after the other; regroups and saves once when hits have gone. Why
    /// the first one that stayed did. Blocking.
    [[nodiscard]] std::optional<std::string> trashPaths(const std::vector<std::string>& paths,
                                                        const RemovalLooks* looks = nullptr);

    /// Which of several items a removal by other means may take: all that `trashPaths` would move.
    /// Blocking.
    [[nodiscard]] AllowedItems allowedToGo(const std::vector<std::string>& paths,
                                           const RemovalLooks* looks = nullptr) const;

    /// Calls `observer` after each change of a field. It must not destroy the Scanner.
    [[nodiscard]] Subscription subscribe(std::function<void(ScannerField)> observer);

private:
    class ScanReports;
    class SignaturePass;
    class Guard;

    void loadCache();
    void receiveProgress(std::int64_t count, std::string path);
    void receiveHits(HitList added, std::int64_t count);
    void readEarlier(EarlierScan earlier);
    void receiveEarlier(SignatureMap signatures);
    void receiveFinish();
    void receiveFailure();
    /// Of hits that were read before those of the scan before were there.
    void completeDates();
    void receiveSignatures(const SignatureMap& found);
    void receivePassEnd();
    /// Whether there were hits of these roots. While a scan runs, none of them come back.
    bool forget(const RootSet& gone);
    void forgetRemoved(const RootSet& gone);
    [[nodiscard]] bool isWhatIsSaved() const;
    void saveWithout(const RootSet& gone);
    void changed(ScannerField field) { observers_.notify(field); }

    ScannerServices services_;
    ScanFile results_;
    Regrouping regrouping_;
    bool signaturesNewer_ = false;  ///< Than what the groups were started over with.
    bool scanning_ = false;
    bool walking_ = false;
    bool cutShort_ = false;    ///< The results are those of a scan that ran out of memory.
    bool forgetting_ = false;  ///< What this one has removed; its groups follow later.
    RootSet goneInScan_;       ///< What was removed since the running scan began.
    std::int64_t scannedCount_ = 0;
    std::string currentPath_;
    std::optional<double> lastScanDate_;
    bool intelOnly_ = true;
    std::optional<CancelFlag> task_;  ///< Of the running or last scan.
    /// Of the running scan; the last one's hits.
    std::shared_ptr<PreviousHits> previous_;
    bool previousIsRead_ = true;
    bool walkIsDone_ = false;  ///< Only the end of the reading is waited for.
    std::uint64_t scan_ = 0;   ///< Which one the results are of, by `order`.
    std::size_t passes_ = 0;
    CancelFlag closing_;
    Observers<ScannerField> observers_;
    Subscription gone_;
    WeakAnchor<Scanner> anchor_{*this};
};

}  // namespace vestigo
