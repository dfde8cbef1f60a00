// Remembers the file systems below one root of a scan.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>

#include "platform/directory_reader.h"

namespace vestigo {

struct FileSystem {
    std::uint64_t mount = 0;  ///< The system's number for the mount.
    /// A pseudo file system of the kernel: it holds no programs, but files that are endless or
    /// block.
    bool isPseudo = false;
    bool keepsChangeTimes = false;  ///< As `FileAttributes::changed` requires.
    std::uint64_t identity = 0;
};

/// Asks the system only once about each file system, since that can be slow. The answers are
/// discarded with the root: by the next scan something else may be mounted there. Thread-safe.
class FileSystemsBelowRoot {
public:
    explicit FileSystemsBelowRoot(const FileSystem& root) { known_.emplace(root.mount, root); }

    /// The known file system of this mount; `ask` is called when there is none yet.
    template <class Ask>
    [[nodiscard]] FileSystem of(std::uint64_t mount, Ask ask) {
        const std::lock_guard lock(mutex_);
        const auto found = known_.find(mount);
        return found != known_.end() ? found->second : known_.emplace(mount, ask()).first->second;
    }

    /// Whether the latest `openFolder` reached another mount than its parent's. The reader then
    /// expects the same of the next one.
    std::atomic<bool> latestWasElsewhere = false;

private:
    std::mutex mutex_;
    std::map<std::uint64_t, FileSystem> known_;
};

}  // namespace vestigo
