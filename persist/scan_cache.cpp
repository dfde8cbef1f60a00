#include "persist/scan_cache.h"

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

}  // namespace vestigo
