// The Scanner's scans: start, reports, end, and the saved results.
//
// A scan is one background job, the walk, and at most one other job that reads the earlier scan's
// hits while the walk already runs. Both report by posting to the main thread, where all fields of
// the Scanner are read and changed. So no field needs a lock; what the jobs share with the Scanner
// are CancelFlags and `PreviousHits`, which are thread-safe.
//
// Each scan has a number (`ScanOrder`). A report carries the number of its scan and is dropped on
// arrival when the Scanner has begun another scan since, so a stopped walk that ends late cannot
// add its hits to the next scan.
//
// Between `stop` and the end of the walk `scanning_` is false but `walking_` is still true: the
// user sees that the scan has stopped, and the hits found by then still arrive. A new scan may
// begin in that time. `PreviousHits` is therefore made anew for each scan and shared with its jobs.
//
// Signature passes are in scanner_signatures.cpp, removals in scanner_removal.cpp.
#include "engine/scanner.h"

#include <memory>
#include <new>
#include <utility>

#include "engine/walk.h"

namespace vestigo {

namespace {

/// Opens the memory of other files. Null when there is none, or no room for it: losing it costs the
/// scan time, while failing would cost the user the scan.
std::unique_ptr<FileMemory> opened(const std::function<std::unique_ptr<FileMemory>()>& open) {
    try {
        return open ? open() : nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void finish(FileMemory& memory) {
    try {
        memory.finish();
    } catch (const std::bad_alloc&) {
        // The memory stays as it was, which costs the next scan time.
    }
}

/// Walks with the memory of other files and updates it at the end, unless the scan was stopped: the
/// memory would then forget the files that the walk had not reached.
void walkWithMemory(DirectoryReader& reader,
                    const std::function<std::unique_ptr<FileMemory>()>& openMemory,
                    WalkRequest& request, const CancelFlag& cancelled, WalkListener& listener) {
    const auto memory = opened(openMemory);
    request.memory = memory.get();
    walk(reader, request, cancelled, listener);
    if (memory && !cancelled.cancelled()) finish(*memory);
}

}  // namespace

/// Posts the reports of one scan's jobs to the main thread. There they are dropped if the Scanner
/// is gone or has begun another scan.
class Scanner::ScanReports : public WalkListener {
public:
    ScanReports(std::shared_ptr<MainQueue> main, WeakRef<Scanner> scanner, std::uint64_t number)
        : main_(std::move(main)), scanner_(std::move(scanner)), number_(number) {}

    void progress(std::int64_t count, const std::string& path) override {
        post([count, path](Scanner& scanner) { scanner.receiveProgress(count, path); });
    }
    void partial(HitList added, std::int64_t count) override {
        post([added = std::move(added), count](Scanner& scanner) mutable {
            scanner.receiveHits(std::move(added), count);
        });
    }
    void final(HitList added, std::int64_t count) override {
        partial(std::move(added), count);
        post([](Scanner& scanner) { scanner.receiveFinish(); });
    }

    void earlier(SignatureMap signatures) {
        post([signatures = std::move(signatures)](Scanner& scanner) mutable {
            scanner.receiveEarlier(std::move(signatures));
        });
    }

    void failed() {
        post([](Scanner& scanner) { scanner.receiveFailure(); });
    }

private:
    template <class Report>
    void post(Report report) {
        main_->post([known = scanner_, number = number_, report = std::move(report)]() mutable {
            auto* const scanner = known.get();
            if (scanner && scanner->scan_ == number) report(*scanner);
        });
    }

    std::shared_ptr<MainQueue> main_;
    WeakRef<Scanner> scanner_;
    std::uint64_t number_;
};

Scanner::Scanner(ScannerServices services)
    : services_(std::move(services)),
      results_{.version = scanFileVersion, .roots = {}, .hits = {}, .signatures = SignatureMap{}},
      regrouping_(*results_.signatures) {
    removals_ =
        services_.order->subscribe([this](const RootSet& removed) { receiveRemoved(removed); });
    if (services_.migrate) services_.migrate();
    loadCache();
}

Scanner::~Scanner() {
    closing_.cancel();
    if (task_) task_->cancel();
}

void Scanner::startScan(std::vector<std::string> roots, bool rootsAreNamed, EarlierScan earlier) {
    if (scanning_) return;
    scanning_ = true;
    walking_ = true;
    cutShort_ = false;
    removedInScan_.clear();
    scannedCount_ = 0;
    currentPath_.clear();
    results_.roots = roots;
    task_ = CancelFlag();
    scan_ = services_.order->begin();
    regrouping_.restart(intelOnly_);
    if (!earlier && saved_) earlier = [saved = saved_] { return saved->get(); };
    saved_.reset();
    if (!earlier && !results_.hits.empty()) {
        earlier = [hits = std::move(results_.hits)]() mutable {
            ScanFile record;
            record.hits = std::move(hits);
            return record;
        };
    }
    results_.hits.clear();
    readEarlier(std::move(earlier));
    WalkRequest request{.roots = std::move(roots), .rootsAreNamed = rootsAreNamed};
    services_.background->run(
        services_.priority,
        [reader = services_.reader, memory = services_.memory, previous = previous_,
         request = std::move(request), cancelled = *task_,
         reports = ScanReports(services_.main, anchor_.ref(), scan_)]() mutable {
            request.previous = previous.get();
            try {
                walkWithMemory(*reader, memory, request, cancelled, reports);
            } catch (const std::bad_alloc&) {
                reports.failed();
                throw;
            }
        });
    for (const auto field :
         {ScannerField::scanning, ScannerField::scannedCount, ScannerField::currentPath,
          ScannerField::lastRoots, ScannerField::allHits, ScannerField::groups}) {
        changed(field);
    }
}

void Scanner::readEarlier(EarlierScan earlier) {
    previous_ = std::make_shared<PreviousHits>();
    walkIsDone_ = false;
    previousIsRead_ = !earlier;
    if (!earlier) return;
    auto reading = [earlier = std::move(earlier), previous = previous_,
                    reports = ScanReports(services_.main, anchor_.ref(), scan_)]() mutable {
        SignatureMap signatures;
        try {
            auto record = earlier();
            if (record) previous->provide(std::move(record->hits));
            if (record && record->signatures) signatures = std::move(*record->signatures);
        } catch (const std::bad_alloc&) {
            // Without the earlier hits all files are read, which costs time only.
        }
        reports.earlier(std::move(signatures));
    };
    services_.background->run(services_.priority, std::move(reading));
}

void Scanner::receiveEarlier(SignatureMap signatures) {
    previousIsRead_ = true;
    if (!signatures.empty()) {
        results_.signatures->merge(signatures);
        collectAppleSigned();
        signaturesNewer_ = true;
        changed(ScannerField::signatures);
    }
    if (walkIsDone_) receiveFinish();
}

void Scanner::receiveProgress(std::int64_t count, std::string path) {
    currentPath_ = std::move(path);
    scannedCount_ = count;
    changed(ScannerField::currentPath);
    changed(ScannerField::scannedCount);
}

void Scanner::receiveHits(HitList added, std::int64_t count) {
    eraseHitsUnder(removedInScan_, added);
    results_.hits.insert(results_.hits.end(), added.begin(), added.end());
    scannedCount_ = count;
    regrouping_.add(added);
    changed(ScannerField::allHits);
    changed(ScannerField::scannedCount);
    changed(ScannerField::groups);
}

void Scanner::receiveFinish() {
    // A scan that was stopped does not wait for the earlier hits.
    walkIsDone_ = scanning_ && !previousIsRead_;
    if (walkIsDone_) return;
    scanning_ = false;
    walking_ = false;
    removedInScan_.clear();
    currentPath_.clear();
    completeDates();
    lastScanDate_ = services_.now();
    if (signaturesNewer_) regroup();
    saveCache();
    refreshSignatures();
    changed(ScannerField::scanning);
    changed(ScannerField::currentPath);
    changed(ScannerField::lastScanDate);
}

void Scanner::completeDates() {
    for (auto& hit : results_.hits) {
        if (hit->ctime > 0) continue;
        const auto* const known = previous_->find(hit->path);
        if (!known || (*known)->ctime <= 0) continue;
        auto whole = reusable(*known, {.size = hit->size, .mtime = hit->mtime});
        if (!whole) continue;
        hit = std::move(whole);
        signaturesNewer_ = true;
    }
    previous_.reset();
}

void Scanner::receiveFailure() {
    previous_.reset();
    scanning_ = false;
    walking_ = false;
    cutShort_ = true;
    currentPath_.clear();
    changed(ScannerField::scanning);
    changed(ScannerField::currentPath);
}

void Scanner::stop() {
    if (task_) task_->cancel();
    scanning_ = false;
    saveCache();
    changed(ScannerField::scanning);
    if (walkIsDone_) receiveFinish();
}

void Scanner::setIntelOnly(bool value) {
    intelOnly_ = value;
    changed(ScannerField::intelOnly);
    regroup();
    refreshSignatures();
}

void Scanner::regroup() {
    signaturesNewer_ = false;
    regrouping_.restart(intelOnly_);
    regrouping_.add(results_.hits);
    changed(ScannerField::groups);
}

void Scanner::saveCache() {
    if (cutShort_ || loading() || !services_.order->claim(scan_)) return;
    results_.date = lastScanDate_ ? *lastScanDate_ : services_.now();
    services_.store->writeScanFile(results_);
}

void Scanner::loadCache() {
    const auto number = services_.order->saved();
    if (!services_.readSavedScan) return show(services_.store->readScanFile(), number);
    const auto reading =
        std::make_shared<std::packaged_task<std::optional<ScanFile>()>>(services_.readSavedScan);
    saved_ = std::make_shared<std::future<std::optional<ScanFile>>>(reading->get_future());
    services_.background->run(Priority::normal,
                              [reading, number, main = services_.main, known = anchor_.ref()] {
                                  (*reading)();
                                  main->post([number, known] {
                                      if (auto* const scanner = known.get())
                                          scanner->receiveSaved(number);
                                  });
                              });
}

void Scanner::receiveSaved(std::uint64_t number) {
    if (!loading()) return;
    const auto saved = std::exchange(saved_, nullptr);
    std::optional<ScanFile> record;
    try {
        record = saved->get();
    } catch (const std::bad_alloc&) {
        // The file stays as it is until a scan has ended.
    }
    if (record) eraseHitsUnder(removedInScan_, record->hits);
    removedInScan_.clear();
    show(std::move(record), number);
    changed(ScannerField::lastScanDate);
}

void Scanner::show(std::optional<ScanFile> record, std::uint64_t number) {
    if (!record) return;
    scan_ = number;
    adopt(std::move(*record));
    regroup();
    refreshSignatures();
}

void Scanner::adopt(ScanFile record) {
    if (scanning_) return;
    saved_.reset();
    regrouping_.restart(intelOnly_);
    results_.hits = std::move(record.hits);
    results_.roots = std::move(record.roots);
    cutShort_ = false;
    lastScanDate_ = record.date;
    *results_.signatures = record.signatures ? std::move(*record.signatures) : SignatureMap();
    collectAppleSigned();
    for (const auto field : {ScannerField::allHits, ScannerField::groups, ScannerField::lastRoots,
                             ScannerField::lastScanDate, ScannerField::signatures}) {
        changed(field);
    }
}

void Scanner::pruneHits(const std::string& path) {
    static_cast<void>(dropHits({path}));
}

Subscription Scanner::subscribe(std::function<void(ScannerField)> observer) {
    return observers_.subscribe(std::move(observer));
}

}  // namespace vestigo
