// The walk over the roots of a scan: every Mach-O file in them, found by many threads, reported as
// one thread walking in order would.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engine/file_memory.h"
#include "engine/previous_hits.h"
#include "engine/records.h"
#include "platform/directory_reader.h"
#include "platform/tasks.h"

namespace vestigo {

/// What the walk has to say, always from one thread at a time and in order.
class WalkListener {
public:
    virtual ~WalkListener() = default;
    /// At every 1000th candidate file, with its path.
    virtual void progress(std::int64_t scannedCount, const std::string& path) = 0;
    /// The hits since the last call, 2000 of them, and the candidates up to the last of them.
    virtual void partial(HitList added, std::int64_t scannedCount) = 0;
    /// Once, at the end: the remaining hits and all candidates.
    virtual void final(HitList added, std::int64_t scannedCount) = 0;
};

struct WalkRequest {
    std::vector<std::string> roots;
    /// Of the scan before: a file in it that has not changed is not read again. May be null, and
    /// may still be filled.
    const PreviousHits* previous = nullptr;
    unsigned threads = 0;  ///< At most; 0: as many as help.
    /// Someone named the roots: a place that scans leave out does not count for a root at or below
    /// it. What else is left out stays out, below such a root too. And a root may be a file.
    bool rootsAreNamed = false;
    /// Of files that are no Mach-O files: those in it are not read, and others are added. The
    /// caller finishes it. May be null.
    FileMemory* memory = nullptr;
    /// Files that are Mach-O files are added to the memory as well, so that another walk with it
    /// reports only those that have changed or come since.
    bool remembersHits = false;
};

struct WalkOutcome {
    /// The path of something that could not be listed, opened or read, or that is gone: the first
    /// one found. Absent when everything could be looked at, as far as the walk came.
    std::optional<std::string> unread;
};

/// Walks the roots in their order, the files of a folder before its sub-folders, both in the order
/// of their listing. What cannot be listed or read is passed over and told at the end. Blocking.
/// When `cancelled`, it ends within a moment and reports what was found so far. Where the memory
/// does not suffice it throws std::bad_alloc, and nothing more is reported.
WalkOutcome walk(DirectoryReader& reader, const WalkRequest& request, const CancelFlag& cancelled,
                 WalkListener& listener);

}  // namespace vestigo
