// Keeps the writing of a saved scan off the main thread.
#pragma once

#include <memory>

#include "engine/scan_store.h"
#include "platform/tasks.h"

namespace vestigo {

/// Writes to another store one after the other, in the background; a record that came while one was
/// being written and was overtaken by a later one is not written. The tasks' destructor waits for
/// what is under way, so nothing is lost when the program ends. Main thread only.
class BackgroundScanStore : public ScanStore {
public:
    /// `store` is used on background threads too, never on two at a time.
    BackgroundScanStore(std::shared_ptr<ScanStore> store, std::shared_ptr<BackgroundTasks> tasks);
    ~BackgroundScanStore() override;

    /// Waits for what is being written.
    [[nodiscard]] std::optional<ScanFile> readScanFile() override;
    void writeScanFile(const ScanFile& record) override;

private:
    struct State;
    std::shared_ptr<State> state_;
    std::shared_ptr<BackgroundTasks> tasks_;
};

}  // namespace vestigo
