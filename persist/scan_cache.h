// The file that keeps the last scan between launches.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "engine/scan_store.h"
#include "platform/files.h"
#include "platform/standard_folders.h"

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

}  // namespace vestigo
