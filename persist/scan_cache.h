// The file that keeps the last scan between launches, and a store that writes it in the background.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "engine/scanner.h"
#include "platform/files.h"
#include "platform/standard_folders.h"
#include "platform/tasks.h"

namespace vestigo {

/// Keeps the scan as JSON text in the user's application support folder. Used by one thread at a
/// time; blocking. Failures are not reported: a file that cannot be read counts as absent, and a
/// write that fails leaves the previous file as it was.
class ScanCache : public ScanStore {
public:
    ScanCache(std::shared_ptr<Files> files, const StandardFolders& folders);

    /// The path of "Vestigo/last-scan.json" in the application support folder. Creates that folder.
    [[nodiscard]] std::string cacheFileURL();
    [[nodiscard]] std::optional<ScanFile> readScanFile() override;
    void writeScanFile(const ScanFile& record) override;
    /// Copies the file of the previous product into place, if there is one and this product has
    /// none.
    void migrateOldCacheFile();

private:
    std::shared_ptr<Files> files_;
    std::string applicationSupport_;
};

/// Writes records to another store in the background, one after the other. Of several records that
/// arrive while one is being written only the latest is written. The destructor of the tasks waits
/// for the last of them, so nothing is lost when the program ends. Main thread only.
class BackgroundScanStore : public ScanStore {
public:
    /// `store` is used on background threads too, but never by two threads at a time.
    BackgroundScanStore(std::shared_ptr<ScanStore> store, std::shared_ptr<BackgroundTasks> tasks);
    ~BackgroundScanStore() override;

    /// Waits until nothing is being written, then reads.
    [[nodiscard]] std::optional<ScanFile> readScanFile() override;
    void writeScanFile(const ScanFile& record) override;
    /// Returns a function that does the same as `readScanFile` on any thread. It does not keep this
    /// object alive: a job that held the last reference to it would wait for itself, as the tasks
    /// may end with it.
    [[nodiscard]] std::function<std::optional<ScanFile>()> reader() const;

private:
    struct State;
    std::shared_ptr<State> state_;
    std::shared_ptr<BackgroundTasks> tasks_;
};

}  // namespace vestigo
