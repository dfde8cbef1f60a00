// Where the Scanner keeps its results between launches.
#pragma once

#include <optional>

#include "engine/records.h"

namespace vestigo {

/// Main thread only. Nothing fails visibly.
class ScanStore {
public:
    virtual ~ScanStore() = default;
    /// Absent when there is no usable record.
    [[nodiscard]] virtual std::optional<ScanFile> readScanFile() = 0;
    virtual void writeScanFile(const ScanFile& record) = 0;
};

}  // namespace vestigo
