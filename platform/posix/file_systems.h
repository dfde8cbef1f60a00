// What is known of the file systems below one root of a scan.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>

#include "platform/directory_reader.h"

namespace vestigo {

struct FileSystem {
    std::uint64_t mount = 0;  ///< The system's number for it, as long as it is mounted.
    /// A tree of the kernel's own: no programs in it, but files that are endless or block.
    bool isPseudo = false;
    bool keepsChangeTimes = false;  ///< As `FileAttributes::changed` needs them.
    std::uint64_t identity = 0;
};

/// Asks for each file system once. That can be slow, and the answers do not outlive the root that
/// they were found below: something else may be mounted there by the next scan. Thread-safe.
class FileSystemsBelowRoot {
public:
    explicit FileSystemsBelowRoot(const FileSystem& root) { known_.emplace(root.mount, root); }

    /// What is known of this mount, else what `ask` gives.
    template <class Ask>
    [[nodiscard]] FileSystem of(std::uint64_t mount, Ask ask) {
        const std::lock_guard lock(mutex_);
        const auto found = known_.find(mount);
        return found != known_.end() ? found->second : known_.emplace(mount, ask()).first->second;
    }

    /// Whether the folder that was opened last lay on another mount than its root.
    std::atomic<bool> latestWasElsewhere = false;

private:
    std::mutex mutex_;
    std::map<std::uint64_t, FileSystem> known_;
};

}  // namespace vestigo
