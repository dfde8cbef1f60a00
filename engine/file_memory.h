// What scans remember of the files that are no Mach-O files, so that the next one opens them only
// when they have changed.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "platform/directory_reader.h"

namespace vestigo {

/// One scan's use of the memory: what is added counts from `finish` on. Losing any of it costs time
/// and changes no result. All but `finish` are thread-safe.
class FileMemory {
public:
    virtual ~FileMemory() = default;
    /// By the clock that files get their times from; nanoseconds since 1970.
    [[nodiscard]] virtual std::int64_t now() const = 0;
    /// Stands for a file in one state: its path, size, file system, inode number, and the times of
    /// its last modification and inode change. Two states share one with a chance of about 1 in
    /// 10^18.
    [[nodiscard]] virtual std::uint64_t fingerprint(std::string_view path,
                                                    const FileAttributes& attributes) const = 0;
    /// Whether a file in this state was found to be no Mach-O file. What is never asked for is
    /// forgotten some scans later.
    [[nodiscard]] virtual bool contains(std::uint64_t fingerprint) = 0;
    /// Adds files that are no Mach-O files, each in a state that has lasted long enough: another
    /// change would have given it other times.
    virtual void add(std::span<const std::uint64_t> fingerprints) = 0;
    /// Keeps what the scan has asked for and added. Called once a scan has ended by itself, never
    /// while another one uses this.
    virtual void finish() = 0;
};

}  // namespace vestigo
