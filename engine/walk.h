// The walk over the roots of a scan: every Mach-O file in them, found by many threads, reported as
// one thread walking in order would.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

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
    HitList previous;  ///< Of the scan before: a file in it that has not changed is not read again.
    unsigned threads = 0;  ///< At most; 0: as many as help.
};

/// Walks the roots in their order, the files of a folder before its sub-folders, both in the order
/// of their listing. What cannot be listed or read is passed over. Blocking. When `cancelled`, it
/// ends within a moment and reports what was found so far.
void walk(DirectoryReader& reader, const WalkRequest& request, const CancelFlag& cancelled,
          WalkListener& listener);

}  // namespace vestigo
