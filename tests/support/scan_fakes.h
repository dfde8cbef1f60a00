// What tests hand to a walk or a Scanner.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/scan_store.h"
#include "engine/walk.h"

namespace vestigo::test {

/// Keeps everything that a walk reports, as lines where the order matters.
class RecordingListener : public WalkListener {
public:
    void progress(std::int64_t count, const std::string& path) override;
    void partial(HitList added, std::int64_t count) override;
    void final(HitList added, std::int64_t count) override;

    [[nodiscard]] std::vector<std::string> paths() const;

    HitList hits;
    std::int64_t count = 0;
    /// "progress COUNT PATH", "partial HITS COUNT", "final HITS COUNT": hits in all so far.
    std::vector<std::string> reports;
};

/// What one thread finds that walks with nothing but the standard library and the rules.
[[nodiscard]] RecordingListener simpleWalk(DirectoryReader& reader,
                                           const std::vector<std::string>& roots);

/// A saved scan in memory.
class MemoryStore : public ScanStore {
public:
    std::optional<ScanFile> readScanFile() override { return record; }
    void writeScanFile(const ScanFile& written) override {
        record = written;
        ++writes;
    }

    std::optional<ScanFile> record;
    int writes = 0;
};

}  // namespace vestigo::test
