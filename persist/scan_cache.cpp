#include "persist/scan_cache.h"

#include <condition_variable>
#include <mutex>
#include <new>
#include <optional>
#include <utility>

#include "persist/scan_file_reader.h"
#include "persist/scan_file_writer.h"

namespace vestigo {

ScanCache::ScanCache(std::shared_ptr<Files> files, const StandardFolders& folders)
    : files_(std::move(files)), applicationSupport_(folders.applicationSupport) {}

std::string ScanCache::cacheFileURL() {
    const auto folder = applicationSupport_ + "/Vestigo";
    files_->createFolders(folder);
    return folder + "/last-scan.json";
}

std::optional<ScanFile> ScanCache::readScanFile() {
    const auto bytes = files_->read(cacheFileURL());
    return bytes ? decodeScanFile(*bytes) : std::nullopt;
}

void ScanCache::writeScanFile(const ScanFile& record) {
    const auto text = encodeScanFile(record);
    if (text) static_cast<void>(files_->replace(cacheFileURL(), *text, Access::ownerOnly));
}

void ScanCache::migrateOldCacheFile() {
    const auto old = applicationSupport_ + "/Tracemole/last-scan.json";
    const auto current = cacheFileURL();
    if (files_->exists(old) && !files_->exists(current)) {
        static_cast<void>(files_->copy(old, current));
    }
}

/// The state shared with background jobs, which may outlive the store. The mutex guards `next` and
/// `busy`; it is not held while a record is read or written.
struct BackgroundScanStore::State {
    std::shared_ptr<ScanStore> store;
    std::mutex mutex;
    std::condition_variable idle;
    std::optional<ScanFile> next;  ///< The record to write next.
    bool busy = false;  ///< A thread reads or writes; it also writes what is `next` by then.

    std::optional<ScanFile> read() {
        std::unique_lock lock(mutex);
        idle.wait(lock, [this] { return !busy; });
        busy = true;
        lock.unlock();
        std::optional<ScanFile> record;
        try {
            record = store->readScanFile();
        } catch (const std::bad_alloc&) {
            writePending();
            throw;
        }
        writePending();
        return record;
    }

    void writePending() {
        std::unique_lock lock(mutex);
        while (next) {
            const auto record = *std::exchange(next, std::nullopt);
            lock.unlock();
            try {
                store->writeScanFile(record);
            } catch (const std::bad_alloc&) {
                // As with any other failure, the file stays as it was.
            }
            lock.lock();
        }
        busy = false;
        idle.notify_all();
    }
};

BackgroundScanStore::BackgroundScanStore(std::shared_ptr<ScanStore> store,
                                         std::shared_ptr<BackgroundTasks> tasks)
    : state_(std::make_shared<State>()), tasks_(std::move(tasks)) {
    state_->store = std::move(store);
}

BackgroundScanStore::~BackgroundScanStore() = default;

std::optional<ScanFile> BackgroundScanStore::readScanFile() {
    return state_->read();
}

std::function<std::optional<ScanFile>()> BackgroundScanStore::reader() const {
    return [state = state_] { return state->read(); };
}

void BackgroundScanStore::writeScanFile(const ScanFile& record) {
    // Copied before the lock is taken, since a record may be large.
    auto copy = record;
    {
        const std::lock_guard lock(state_->mutex);
        state_->next = std::move(copy);
        if (std::exchange(state_->busy, true)) return;
    }
    try {
        tasks_->run(Priority::normal, [state = state_] { state->writePending(); });
    } catch (const std::bad_alloc&) {
        const std::lock_guard lock(state_->mutex);
        state_->busy = false;
    }
}

}  // namespace vestigo
