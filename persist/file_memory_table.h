// The memory of files that are no Mach-O files, kept as a table of fingerprints in a file, or in
// memory only.
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

/// Each remembered file takes at most 12 bytes, in the file and in memory. While a scan runs, each
/// file that it adds takes 8 bytes.
class FileMemoryTable : public FileMemory {
public:
    /// Gives the time by the clock that gives files their times, in nanoseconds since 1970.
    using Clock = std::function<std::int64_t()>;

    /// Makes an empty memory that is not kept in a file.
    explicit FileMemoryTable(Clock clock = systemClock);
    /// Reads the file. It counts as empty if it is missing, damaged or of another version, if
    /// another user may have written it, or if it is newer than the clock says.
    FileMemoryTable(std::shared_ptr<Files> files, std::string path, Clock clock = systemClock);

    [[nodiscard]] static std::int64_t systemClock();

    [[nodiscard]] std::int64_t now() const override { return clock_(); }
    [[nodiscard]] std::uint64_t fingerprint(std::string_view path,
                                            const FileAttributes& attributes) const override;
    [[nodiscard]] bool contains(std::uint64_t fingerprint) override;
    void add(std::span<const std::uint64_t> fingerprints) override;
    /// Replaces the file, if there is one, unless that would change next to nothing. Fingerprints
    /// that another program has written there meanwhile are kept. If it cannot be written, it stays
    /// as it was.
    void finish() override;

    [[nodiscard]] std::size_t size() const { return table_.size(); }
    /// Whether the file holds all that this remembers. False after a `finish` that could not write
    /// it.
    [[nodiscard]] bool isInFile() const { return isInFile_; }

private:
    void use(FingerprintTable table);
    [[nodiscard]] std::size_t unseen() const;
    [[nodiscard]] bool isSeen(std::size_t slot) const;
    [[nodiscard]] bool wasWrittenByAnother() const;
    [[nodiscard]] FingerprintTable merged() const;
    [[nodiscard]] FingerprintTable mergedWith(const FingerprintTable& base) const;

    Clock clock_;
    std::shared_ptr<Files> files_;  ///< Null if the memory is not kept in a file.
    std::string path_;
    bool isInFile_ = false;  ///< The file holds what `table_` holds.
    FingerprintTable table_;
    std::vector<std::atomic<std::uint64_t>> seen_;  ///< A bit for each slot: it was asked for.
    std::mutex mutex_;
    /// The fingerprints added, in blocks of equal size, so that growing copies nothing.
    std::vector<std::vector<std::uint64_t>> added_;
    std::size_t addedCount_ = 0;
};

/// The reason why scans may not keep their memory at this path, for the user to read. Absent when
/// the file there is missing or empty, or is such a memory that nobody else can have written.
/// Blocking.
[[nodiscard]] std::optional<std::string> fileMemoryProblem(Files& files, const std::string& path);

}  // namespace vestigo
