// The memory of files that are no Mach-O files, as a table of fingerprints in a file or in memory
// only.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
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
    /// In memory only, and empty.
    FileMemoryTable();
    /// Reads the file. One that is missing, damaged or of another version counts as empty.
    FileMemoryTable(std::shared_ptr<Files> files, std::string path);

    [[nodiscard]] std::int64_t now() const override;
    [[nodiscard]] std::uint64_t fingerprint(std::string_view path,
                                            const FileAttributes& attributes) const override;
    [[nodiscard]] bool contains(std::uint64_t fingerprint) override;
    void add(std::span<const std::uint64_t> fingerprints) override;
    /// Where there is a file, it is replaced, unless that would change nothing. What another
    /// program has written there meanwhile is kept. A file that cannot be written stays as it was.
    void finish() override;

    [[nodiscard]] std::size_t size() const { return table_.size(); }

private:
    void use(FingerprintTable table);
    [[nodiscard]] std::size_t unseen() const;
    [[nodiscard]] bool isSeen(std::size_t slot) const;
    [[nodiscard]] FingerprintTable merged() const;
    [[nodiscard]] FingerprintTable mergedWith(const FingerprintTable& base) const;

    std::shared_ptr<Files> files_;  ///< Null: in memory only.
    std::string path_;
    FingerprintTable table_;
    std::vector<std::atomic<std::uint64_t>> seen_;  ///< One bit for each slot of the table.
    std::mutex mutex_;
    std::vector<std::vector<std::uint64_t>> added_;  ///< Blocks of one size, the last one not full.
    std::size_t addedCount_ = 0;
};

/// Whether scans may keep their memory at this path: the file there is one, or empty, or missing.
/// Blocking.
[[nodiscard]] bool mayHoldFileMemory(Files& files, const std::string& path);

}  // namespace vestigo
