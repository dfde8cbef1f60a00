// The file that keeps the last scan between launches.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "engine/scanner.h"
#include "platform/files.h"
#include "platform/standard_folders.h"
#include "platform/tasks.h"

namespace vestigo {

/// Main thread only; blocking. Nothing fails visibly: what cannot be read is absent, and a write
/// that fails leaves the previous file as it was.
class ScanCache : public ScanStore {
public:
    ScanCache(std::shared_ptr<Files> files, const StandardFolders& folders);

    /// "Vestigo/last-scan.json" in the application support folder. Asking creates the folder.
    [[nodiscard]] std::string cacheFileURL();
    [[nodiscard]] std::optional<ScanFile> readScanFile() override;
    void writeScanFile(const ScanFile& record) override;
    /// Copies the previous product's file into place if there is one and no current one.
    void migrateOldCacheFile();

private:
    std::shared_ptr<Files> files_;
    std::string applicationSupport_;
};

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
