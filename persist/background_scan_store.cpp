#include "persist/background_scan_store.h"

#include <condition_variable>
#include <mutex>
#include <new>
#include <optional>
#include <utility>

namespace vestigo {

struct BackgroundScanStore::State {
    std::shared_ptr<ScanStore> store;
    std::mutex mutex;
    std::condition_variable idle;
    std::optional<ScanFile> next;  ///< To be written.
    bool writing = false;

    void writePending() {
        std::unique_lock lock(mutex);
        while (next) {
            const auto record = *std::exchange(next, std::nullopt);
            lock.unlock();
            try {
                store->writeScanFile(record);
            } catch (const std::bad_alloc&) {
                // As any save that fails: the file stays as it was.
            }
            lock.lock();
        }
        writing = false;
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
    std::unique_lock lock(state_->mutex);
    state_->idle.wait(lock, [this] { return !state_->writing; });
    return state_->store->readScanFile();
}

void BackgroundScanStore::writeScanFile(const ScanFile& record) {
    auto copy = record;
    {
        const std::lock_guard lock(state_->mutex);
        state_->next = std::move(copy);
        if (std::exchange(state_->writing, true)) return;
    }
    try {
        tasks_->run(Priority::normal, [state = state_] { state->writePending(); });
    } catch (const std::bad_alloc&) {
        const std::lock_guard lock(state_->mutex);
        state_->writing = false;
    }
}

}  // namespace vestigo
