// The memory of files that are no Mach-O files. A scan opens such a file again only when it has
// changed since it was remembered.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "platform/directory_reader.h"

namespace vestigo {

/// The memory as one scan uses it. Files that are added count from `finish` on. Losing any of the
/// memory costs time but changes no result. All functions but `finish` are thread-safe.
class FileMemory {
public:
    virtual ~FileMemory() = default;
    /// The time by the clock that gives files their times, in nanoseconds since 1970.
    [[nodiscard]] virtual std::int64_t now() const = 0;
    /// A number that stands for a file in one state: its path, size, file system, inode number, and
    /// the times of its last modification and inode change. Two states have the same fingerprint
    /// with a probability of about 1 in 10^18.
    [[nodiscard]] virtual std::uint64_t fingerprint(std::string_view path,
                                                    const FileAttributes& attributes) const = 0;
    /// Whether a file in this state is remembered as no Mach-O file. A fingerprint that is not
    /// asked for is forgotten after some scans.
    [[nodiscard]] virtual bool contains(std::uint64_t fingerprint) = 0;
    /// Adds files that are no Mach-O files. Each must have been in its state for so long that any
    /// further change is sure to give it other times.
    virtual void add(std::span<const std::uint64_t> fingerprints) = 0;
    /// Keeps the fingerprints that the scan has asked for or added. To be called when a scan has
    /// ended by itself and no thread uses the memory any more.
    virtual void finish() = 0;
};

}  // namespace vestigo
