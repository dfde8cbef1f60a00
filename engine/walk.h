// The walk over the roots of a scan. It finds every Mach-O file in them with many threads, and
// reports them as one thread walking in order would.
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

/// Receives the reports of a walk. They come in order and from one thread at a time, though not
/// always from the same thread.
class WalkListener {
public:
    virtual ~WalkListener() = default;
    /// Called at every 1000th candidate file, with its path.
    virtual void progress(std::int64_t scannedCount, const std::string& path) = 0;
    /// Called for every 2000 hits, with those since the last call and with the number of candidates
    /// up to the last of them.
    virtual void partial(HitList added, std::int64_t scannedCount) = 0;
    /// Called once, at the end, with the remaining hits and the number of all candidates.
    virtual void final(HitList added, std::int64_t scannedCount) = 0;
};

struct WalkRequest {
    std::vector<std::string> roots;
    /// The hits of an earlier scan: a file among them that has not changed is not read again. May
    /// be null. It may be filled while the walk already runs.
    const PreviousHits* previous = nullptr;
    unsigned threads = 0;  ///< The most threads to use; 0 means as many as help.
    /// The user has named the roots. An excluded place then does not count for roots at or below
    /// it; all other exclusions still apply below such a root. A root may also be a file.
    bool rootsAreNamed = false;
    /// The memory of files that are no Mach-O files: a file in it is not read, and others are
    /// added. The caller calls `finish` on it. May be null.
    FileMemory* memory = nullptr;
    /// Adds Mach-O files to the memory as well, so that another walk with it reports only those
    /// that are new or have changed.
    bool remembersHits = false;
};

struct WalkOutcome {
    /// The path of the first thing that could not be listed, opened or read, or that is gone.
    /// Absent when everything up to the end (or the cancellation) of the walk could be read.
    std::optional<std::string> unread;
};

/// Walks the roots in their order, and in a folder its files before its sub-folders, both in the
/// order of the listing. Skips what cannot be listed or read, and names the first such path in the
/// outcome. Blocking. When `cancelled`, it ends within a moment and reports what was found so far.
/// When memory runs out it throws std::bad_alloc and reports nothing more.
WalkOutcome walk(DirectoryReader& reader, const WalkRequest& request, const CancelFlag& cancelled,
                 WalkListener& listener);

}  // namespace vestigo
