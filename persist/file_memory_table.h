// The memory of files that are no Mach-O files, as a table of fingerprints in a file or in memory
// only.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "engine/file_memory.h"
#include "persist/fingerprint_table.h"
#include "platform/files.h"

namespace vestigo {

/// At most 12 bytes for each file remembered, in the file and in memory; while a scan runs, 8 more
/// for each that it adds.
class FileMemoryTable : public FileMemory {
public:
    /// By which files get their times, in nanoseconds since 1970.
    using Clock = std::function<std::int64_t()>;

    /// In memory only, and empty.
    explicit FileMemoryTable(Clock clock = systemClock);
    /// Reads the file. One counts as empty that is missing, damaged or of another version, that
    /// others may have written, or that is newer than the clock says.
    FileMemoryTable(std::shared_ptr<Files> files, std::string path, Clock clock = systemClock);

    [[nodiscard]] static std::int64_t systemClock();

    [[nodiscard]] std::int64_t now() const override { return clock_(); }
    [[nodiscard]] std::uint64_t fingerprint(std::string_view path,
                                            const FileAttributes& attributes) const override;
    [[nodiscard]] bool contains(std::uint64_t fingerprint) override;
    void add(std::span<const std::uint64_t> fingerprints) override;
    /// Where there is a file, it is replaced, unless that would change nothing. What another
    /// program has written there meanwhile is kept. A file that cannot be written stays as it was.
    void finish() override;

    [[nodiscard]] std::size_t size() const { return table_.size(); }
    /// Whether what this remembers is in the file: not after a `finish` that could not write it.
    [[nodiscard]] bool isInFile() const { return isInFile_; }

private:
    void use(FingerprintTable table);
    [[nodiscard]] std::size_t unseen() const;
    [[nodiscard]] bool isSeen(std::size_t slot) const;
    [[nodiscard]] bool wasWrittenByAnother() const;
    [[nodiscard]] FingerprintTable merged() const;
    [[nodiscard]] FingerprintTable mergedWith(const FingerprintTable& base) const;

    Clock clock_;
    std::shared_ptr<Files> files_;  ///< Null: in memory only.
    std::string path_;
    bool isInFile_ = false;  ///< What is in `table_`.
    FingerprintTable table_;
    std::vector<std::atomic<std::uint64_t>> seen_;  ///< One bit for each slot of the table.
    std::mutex mutex_;
    std::vector<std::vector<std::uint64_t>> added_;  ///< Blocks of one size, the last one not full.
    std::size_t addedCount_ = 0;
};

/// Why scans may not keep their memory at this path. Absent when the file there is one that nobody
/// else can have written, or empty, or missing. Blocking.
[[nodiscard]] std::optional<std::string> fileMemoryProblem(Files& files, const std::string& path);

}  // namespace vestigo
