// Where the Scanner keeps its results between launches.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

#include "engine/observers.h"
#include "engine/records.h"
#include "platform/paths.h"

namespace vestigo {

/// Main thread only. Nothing fails visibly.
class ScanStore {
public:
    virtual ~ScanStore() = default;
    /// Absent when there is no usable record.
    [[nodiscard]] virtual std::optional<ScanFile> readScanFile() = 0;
    virtual void writeScanFile(const ScanFile& record) = 0;
};

/// What the Scanners of the program have to know of each other: the order in which their scans
/// began, and what one of them has removed. What is saved gives
/// way only to a scan begun later, and to what becomes of the same scan, its signatures and
/// removals: an older window whose signatures come in late does not undo the newer scan of another
/// one. Main thread only.
class ScanOrder {
public:
    /// The number of a scan that begins now, higher than that of every scan before.
    [[nodiscard]] std::uint64_t begin() { return ++begun_; }
    /// The number of the scan that is saved; 0 for one of an earlier launch.
    [[nodiscard]] std::uint64_t saved() const { return saved_; }
    /// Whether the results of this scan may take the place of what is saved; if so, they do.
    [[nodiscard]] bool claim(std::uint64_t scan) {
        if (scan < saved_) return false;
        saved_ = scan;
        return true;
    }

    /// These roots have been removed from the disk; every Scanner loses what lies under them.
    void tellGone(const RootSet& gone) { gone_.notify(gone); }
    [[nodiscard]] Subscription subscribe(std::function<void(const RootSet& gone)> observer) {
        return gone_.subscribe(std::move(observer));
    }

private:
    Observers<const RootSet&> gone_;
    std::uint64_t begun_ = 0;
    std::uint64_t saved_ = 0;
};

}  // namespace vestigo
