// Decides the order of a walk: which piece of work a thread gets next, which finished piece is
// delivered next, and how many threads work at a time.
//
// A list holds, in the order of delivery, every folder whose files are not delivered yet and every
// run of sub-folders that are not entered yet. Once a folder is listed, the run of its sub-folders
// follows it; a sub-folder that is entered stands right before the rest of its run. Work is always
// taken from the front of that order. So little waits between being found and being delivered, and
// memory does not grow with the size of the disk.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "engine/walk.h"
#include "platform/directory_reader.h"

namespace vestigo {

/// The names of a folder's entries in one block of memory, each followed by a NUL.
class NameList {
public:
    void add(std::string_view name) {
        offsets_.push_back(static_cast<std::uint32_t>(text_.size()));
        text_.append(name).push_back('\0');
    }
    [[nodiscard]] std::size_t size() const { return offsets_.size(); }
    [[nodiscard]] bool empty() const { return offsets_.empty(); }
    [[nodiscard]] const char* operator[](std::size_t i) const { return &text_[offsets_[i]]; }

private:
    std::string text_;
    std::vector<std::uint32_t> offsets_;
};

/// Limits how many threads work at a time. While the disk's content is cached, more threads than
/// processors only get in each other's way. While it is not, threads wait for the disk, which
/// answers many requests together far sooner than one after the other. The governor tells the two
/// apart by how busy the processors are. Used by one thread at a time.
class ReaderGovernor {
public:
    /// The limit is never above `most`, and at first not above the number of processors.
    explicit ReaderGovernor(unsigned most);

    [[nodiscard]] unsigned limit() const { return limit_; }
    /// Is to be called often. Every few calls it reads the clocks and may change the limit.
    void tick();
    /// Adjusts the limit to the fact that this process used `processor` seconds of processor time
    /// within `wall` seconds.
    void sample(double wall, double processor);

private:
    using Clock = std::chrono::steady_clock;

    unsigned processors_;
    unsigned most_;
    unsigned limit_;
    Clock::time_point sampledAt_ = Clock::now();
    std::clock_t processorAt_ = std::clock();
};

/// The result of examining a batch of candidates.
struct ExaminedFiles {
    std::uint32_t examined = 0;  ///< How many of the batch were examined.
    /// The hits with their positions in the batch, in ascending order.
    std::vector<std::pair<std::uint32_t, HitRef>> hits;
};

/// Counts candidates and passes the hits on to the listener in portions. Used by one thread at a
/// time.
class WalkDelivery {
public:
    explicit WalkDelivery(WalkListener& listener) : listener_(listener) {}

    /// Delivers the next batch in order. `pathOf` gives the path of the candidate at a position of
    /// the batch.
    void deliver(ExaminedFiles&& batch, const std::function<std::string(std::size_t)>& pathOf);
    /// Delivers the remaining hits and the final count.
    void finish();

private:
    WalkListener& listener_;
    std::int64_t scannedCount_ = 0;
    HitList pending_;
};

/// The result of listing a folder.
struct FolderListing {
    std::shared_ptr<Folder> folder;  ///< Null when it could not be opened.
    NameList candidates;
    /// The attributes of the candidates, where the listing already gave them; may be shorter.
    std::vector<std::optional<FileAttributes>> attributes;
    NameList subFolders;
    /// If the root is a file itself: the part of its path before the name.
    std::string filePrefix;
};

/// Thread-safe. A thread that has claimed work always hands it back, also after a stop.
class WalkQueue {
    struct Node;

    /// A root that has been opened. All folders below it are opened from there, by
    /// their path below the root.
    struct Root {
        std::shared_ptr<Folder> folder;
        std::size_t prefixSize;  ///< Where in paths below it the path below the root begins.
    };

public:
    struct Limits {
        unsigned workers;      ///< The most pieces of work that may be claimed at a time.
        unsigned openFolders;  ///< The most folders that may be open at a time; at least 1.
    };
    /// `listener` is called under the queue's lock.
    WalkQueue(const std::vector<std::string>& roots, Limits limits, WalkListener& listener);

    /// A folder to list.
    struct ListWork {
        Node* files;
        std::string path;
        Folder* root;                ///< The folder to open it from; null if it is a root itself.
        std::size_t rootPrefixSize;  ///< Where in `path` the path below the root begins.
    };
    /// A batch of a folder's candidates to examine: positions [first, last).
    struct ReadWork {
        Node* files;
        std::size_t batch;
        const std::string* prefix;  ///< The part of each candidate's path before its name.
        const FolderListing* listing;
        std::size_t first;
        std::size_t last;
    };
    using Work = std::variant<ListWork, ReadWork>;

    /// Claims the first piece of work, and waits until there is one if need be. Absent when all
    /// work is done or the walk was stopped.
    [[nodiscard]] std::optional<Work> claim();
    /// Each hands back a finished piece of work and claims the next one.
    [[nodiscard]] std::optional<Work> listed(const ListWork& work, FolderListing listing);
    [[nodiscard]] std::optional<Work> examined(const ReadWork& work, ExaminedFiles result);

    /// Whether one more thread would have found work at the time of the latest claim.
    [[nodiscard]] bool wantsAnotherThread() const {
        return threadWanted_.load(std::memory_order_relaxed);
    }

    /// Gives out no more work from now on.
    void stop();
    /// Delivers the finished batches that a stop has left behind, then ends the delivery. To be
    /// called once, when no thread holds any work.
    void finish();

private:
    using Order = std::list<Node>;
    using WorkList = std::list<Node*>;

    /// An element of the order: the files of a folder, or the sub-folders of a folder that are not
    /// entered yet.
    struct Node {
        std::shared_ptr<const Root> root;  ///< Kept until the folder is listed; null for roots.
        std::string prefix;                ///< The part of its entries' paths before their names.
        FolderListing listing;
        Order::iterator place;
        WorkList::iterator workPlace;
        std::vector<std::optional<ExaminedFiles>> batches;
        std::size_t nextBatch = 0;
        std::size_t examinedBatches = 0;
        std::size_t deliveredBatches = 0;
        std::size_t nextSubFolder = 0;
        bool isSubFolders = false;
        bool isListed = false;
    };

    using Lock = std::unique_lock<std::mutex>;

    /// Things to close and free after the lock has been released, as this takes time. It is
    /// declared before the lock is taken, so its destructor runs later.
    struct Released {
        Order delivered;
        std::shared_ptr<Folder> folder;
        std::shared_ptr<const Root> root;
    };

    [[nodiscard]] Lock lockSoon();
    [[nodiscard]] std::optional<Work> tryClaim();
    [[nodiscard]] std::optional<Work> popFirst();
    [[nodiscard]] Work enterNext(Node& run);
    [[nodiscard]] Work popBatch(Node& files);
    [[nodiscard]] bool tooFarAhead() const;
    void addListing(Node& files, FolderListing listing, Released& released);
    void close(Node& files, Released& released);
    void addSubFolders(const Node& after, NameList names);
    void deliverReady(Released& released);
    void deliverNextBatch(Node& files);
    bool isDelivered(const Node& files) const;

    std::mutex mutex_;
    std::condition_variable changed_;
    WalkDelivery delivery_;
    Order order_;
    /// The elements of `order_` that are being listed or of which not everything is claimed yet, in
    /// the same order.
    WorkList work_;
    ReaderGovernor governor_;
    const unsigned maxOpenFolders_;
    unsigned openFolders_ = 0;  ///< Folders being listed or with candidates not yet examined.
    unsigned busy_ = 0;         ///< Pieces of work that are claimed and not handed back.
    unsigned waiting_ = 0;      ///< Threads that wait for work.
    std::size_t ahead_ = 0;     ///< Candidates that are claimed and not delivered.
    bool stopped_ = false;
    std::atomic<bool> threadWanted_ = false;
};

}  // namespace vestigo
