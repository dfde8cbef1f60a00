#include "engine/scanner.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <unordered_map>
#include <utility>

#include "engine/scan_rules.h"
#include "engine/walk.h"
#include "platform/tasks.h"

namespace vestigo {

namespace {

constexpr std::size_t rootsPerPublication = 40;

/// Null also where the program's memory does not suffice for it: then the scan goes on without.
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
        // It stays as it was, which costs the next scan time.
    }
}

/// A scan that was stopped leaves the memory as it was.
void walkWithMemory(DirectoryReader& reader,
                    const std::function<std::unique_ptr<FileMemory>()>& openMemory,
                    WalkRequest& request, const CancelFlag& cancelled, WalkListener& listener) {
    const auto memory = opened(openMemory);
    request.memory = memory.get();
    walk(reader, request, cancelled, listener);
    if (memory && !cancelled.cancelled()) finish(*memory);
}

}  // namespace

/// Posts what a walk reports. Reports of any scan but the current one are dropped on arrival.
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

/// One background pass over roots without a signature. Its results join what the Scanner has by
/// then, so passes that overlap do not undo each other.
class Scanner::SignaturePass {
public:
    SignaturePass(const Scanner& scanner, std::vector<std::string> missing)
        : main_(scanner.services_.main),
          inspect_(scanner.services_.inspect),
          closing_(scanner.closing_),
          scanner_(scanner.anchor_.ref()),
          missing_(std::move(missing)) {}

    void operator()() {
        try {
            inspectAll();
        } catch (const std::bad_alloc&) {
            end();
            throw;
        }
    }

private:
    void inspectAll() {
        const auto processors = std::max(1U, std::thread::hardware_concurrency());
        const auto helpers = std::min<std::size_t>(processors, missing_.size()) - 1;
        Progress progress;
        {
            std::vector<std::unique_ptr<Thread>> threads(helpers);
            for (auto& thread : threads) {
                thread = startThread([&] { inspectSome(progress); }, stackBytes);
            }
            inspectSome(progress);
        }
        if (progress.failed) throw std::bad_alloc();
        if (closing_.cancelled()) return;
        publish(std::move(progress.found));
        end();
    }

    /// What the threads of a pass share.
    struct Progress {
        std::atomic<std::size_t> next = 0;
        std::atomic<bool> failed = false;
        std::mutex mutex;
        std::size_t published = 0;
        std::unordered_map<std::size_t, SignInfo> ahead;  ///< Of roots after one that is not done.
        SignatureMap found;
    };

    void inspectSome(Progress& progress) noexcept {
        try {
            while (!closing_.cancelled() && !progress.failed) {
                const auto position = progress.next++;
                if (position >= missing_.size()) return;
                take(progress, position, inspect_(missing_[position]));
            }
        } catch (const std::bad_alloc&) {
            progress.failed = true;
        }
    }

    /// Publishes in the order of the roots, whichever is done first.
    void take(Progress& progress, std::size_t position, SignInfo info) {
        const std::lock_guard lock(progress.mutex);
        progress.ahead.emplace(position, std::move(info));
        for (auto done = progress.ahead.extract(progress.published); done;
             done = progress.ahead.extract(++progress.published)) {
            progress.found[missing_[done.key()]] = std::move(done.mapped());
            if (progress.found.size() == rootsPerPublication) {
                publish(std::exchange(progress.found, {}));
            }
        }
    }

    void end() {
        main_->post([known = scanner_] {
            if (auto* const scanner = known.get()) scanner->receivePassEnd();
        });
    }

    void publish(SignatureMap found) {
        main_->post([known = scanner_, found = std::move(found)] {
            if (auto* const scanner = known.get()) scanner->receiveSignatures(found);
        });
    }

    // Property lists are read recursively.
    static constexpr std::size_t stackBytes = std::size_t{1} << 20U;
    std::shared_ptr<MainQueue> main_;
    std::function<SignInfo(const std::string&)> inspect_;
    CancelFlag closing_;
    WeakRef<Scanner> scanner_;
    std::vector<std::string> missing_;
};

Scanner::Scanner(ScannerServices services)
    : services_(std::move(services)),
      results_{.version = scanFileVersion, .roots = {}, .hits = {}, .signatures = SignatureMap{}},
      regrouping_(*results_.signatures) {
    gone_ = services_.order->subscribe([this](const RootSet& gone) { forgetRemoved(gone); });
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
    goneInScan_.clear();
    scannedCount_ = 0;
    currentPath_.clear();
    results_.roots = roots;
    task_ = CancelFlag();
    scan_ = services_.order->begin();
    regrouping_.restart(intelOnly_);
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
            // Without it the files are read, which costs time only.
        }
        reports.earlier(std::move(signatures));
    };
    services_.background->run(services_.priority, std::move(reading));
}

void Scanner::receiveEarlier(SignatureMap signatures) {
    previousIsRead_ = true;
    if (!signatures.empty()) {
        results_.signatures->merge(signatures);
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
    if (!goneInScan_.empty()) {
        RootMatcher gone(goneInScan_);
        std::erase_if(added, [&gone](const HitRef& hit) { return gone.covers(hit->path); });
    }
    results_.hits.insert(results_.hits.end(), added.begin(), added.end());
    scannedCount_ = count;
    regrouping_.add(added);
    changed(ScannerField::allHits);
    changed(ScannerField::scannedCount);
    changed(ScannerField::groups);
}

void Scanner::receiveFinish() {
    // One that was stopped does not wait.
    walkIsDone_ = scanning_ && !previousIsRead_;
    if (walkIsDone_) return;
    scanning_ = false;
    walking_ = false;
    goneInScan_.clear();
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

void Scanner::refreshSignatures() {
    if (!services_.inspect) return;
    std::vector<std::string> missing;
    for (const auto& group : groups()) {
        if (!signatures().contains(group.root)) missing.push_back(group.root);
    }
    if (missing.empty()) return;
    ++passes_;
    services_.background->run(services_.priority, SignaturePass(*this, std::move(missing)));
}

void Scanner::receiveSignatures(const SignatureMap& found) {
    for (const auto& [root, info] : found) {
        results_.signatures->insert_or_assign(root, info);
    }
    signaturesNewer_ = true;
    changed(ScannerField::signatures);
}

void Scanner::receivePassEnd() {
    --passes_;
    regroup();
    // Half a scan does not replace the whole one before it; the scan saves at its end.
    if (!scanning_) saveCache();
}

void Scanner::saveCache() {
    if (cutShort_ || !services_.order->claim(scan_)) return;
    results_.date = lastScanDate_ ? *lastScanDate_ : services_.now();
    services_.store->writeScanFile(results_);
}

void Scanner::loadCache() {
    auto record = services_.store->readScanFile();
    if (!record) return;
    scan_ = services_.order->saved();
    takeOver(std::move(*record));
    regroup();
    refreshSignatures();
}

void Scanner::takeOver(ScanFile record) {
    if (scanning_) return;
    regrouping_.restart(intelOnly_);
    results_.hits = std::move(record.hits);
    results_.roots = std::move(record.roots);
    cutShort_ = false;
    lastScanDate_ = record.date;
    *results_.signatures = record.signatures ? std::move(*record.signatures) : SignatureMap();
    for (const auto field : {ScannerField::allHits, ScannerField::groups, ScannerField::lastRoots,
                             ScannerField::lastScanDate, ScannerField::signatures}) {
        changed(field);
    }
}

bool Scanner::isAppleSigned(const std::string& root) const {
    const auto found = signatures().find(root);
    return found != signatures().end() && found->second.isApple;
}

void Scanner::pruneHits(const std::string& path) {
    static_cast<void>(forget({path}));
}

Subscription Scanner::subscribe(std::function<void(ScannerField)> observer) {
    return observers_.subscribe(std::move(observer));
}

}  // namespace vestigo
