// The order of a walk: which piece of work comes next, and which finished piece is delivered next.
//
// A list holds, in the order of delivery, every folder whose files are not delivered yet and every
// run of sub-folders not entered yet. A folder, once listed, is followed by the run of its
// sub-folders; a sub-folder entered stands right before the rest of its run. Work is always taken
// from the front of that order, so little waits between being found and being delivered, and memory
// does not grow with the disk.
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

/// Entry names of one folder, each followed by a NUL.
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

/// With a warm file cache, more readers than processors only get in each other's way. With a cold
/// one they wait for the disk, which answers many at once far sooner than one after the other. The
/// two are told apart by whether the processors have anything to do. Used by one thread at a time.
class ReaderGovernor {
public:
    /// Never more than `most`, and at first no more than there are processors.
    explicit ReaderGovernor(unsigned most);

    [[nodiscard]] unsigned limit() const { return limit_; }
    /// To be called often: now and then it looks at the clocks and may change the limit.
    void tick();
    /// Takes in that this process used `processor` seconds of its processors in `wall` seconds.
    void sample(double wall, double processor);

private:
    using Clock = std::chrono::steady_clock;

    unsigned processors_;
    unsigned most_;
    unsigned limit_;
    Clock::time_point sampledAt_ = Clock::now();
    std::clock_t processorAt_ = std::clock();
};

/// What became of a run of candidates.
struct ExaminedFiles {
    std::uint32_t examined = 0;  ///< How many of the run were looked at.
    /// Hits with their position in the run, ascending.
    std::vector<std::pair<std::uint32_t, HitRef>> hits;
};

/// Counts candidates and cuts the hits into hand-overs. Used by one thread at a time.
class WalkDelivery {
public:
    explicit WalkDelivery(WalkListener& listener) : listener_(listener) {}

    /// The next run in order. `pathOf` gives the path of the candidate at a position of the run.
    void deliver(ExaminedFiles&& run, const std::function<std::string(std::size_t)>& pathOf);
    /// Hands over what is left.
    void finish();

private:
    WalkListener& listener_;
    std::int64_t scannedCount_ = 0;
    HitList pending_;
};

/// What a folder's listing gave.
struct FolderListing {
    std::shared_ptr<Folder> folder;  ///< Null when it could not be opened.
    NameList candidates;
    /// Of the candidates, as far as the listing brought them along; may be shorter.
    std::vector<std::optional<FileAttributes>> attributes;
    NameList subFolders;
    std::string filePrefix;  ///< Of a root that is a file itself: what stands before its name.
};

/// Thread-safe. Work that was claimed is always handed back, also after a stop.
class WalkQueue {
    struct Node;

    /// A root that has been opened. All folders below it are opened from there.
    struct Root {
        std::shared_ptr<Folder> folder;
        std::size_t prefixSize;  ///< Of the paths below it, what stands before the relative path.
    };

public:
    struct Limits {
        unsigned workers;      ///< Pieces of work out at a time; fewer when more would not help.
        unsigned openFolders;  ///< At least 1.
    };
    /// `listener` is called under the queue's lock.
    WalkQueue(const std::vector<std::string>& roots, Limits limits, WalkListener& listener);

    /// A folder to list.
    struct ListWork {
        Node* files;
        std::string path;
        Folder* root;                ///< To open it from; null: the path is a root itself.
        std::size_t rootPrefixSize;  ///< Of `path`: where the path below the root begins.
    };
    /// Some of a folder's candidates to read: positions [first, last).
    struct ReadWork {
        Node* files;
        std::size_t batch;
        const std::string* prefix;  ///< What stands before a name in its path.
        const FolderListing* listing;
        std::size_t first;
        std::size_t last;
    };
    using Work = std::variant<ListWork, ReadWork>;

    /// The first piece of work, waiting for one if need be; absent when there is none and will be
    /// none.
    [[nodiscard]] std::optional<Work> claim();
    /// Hands a piece of work back, done, and claims the next one.
    [[nodiscard]] std::optional<Work> listed(const ListWork& work, FolderListing listing);
    [[nodiscard]] std::optional<Work> examined(const ReadWork& work, ExaminedFiles result);

    /// Whether one more thread would have found work when some was last claimed.
    [[nodiscard]] bool wantsAnotherThread() const {
        return understaffed_.load(std::memory_order_relaxed);
    }

    /// Gives out no more work.
    void stop();
    /// Delivers what a stop has left, then ends the delivery. Called once, when no work is out.
    void finish();

private:
    using Order = std::list<Node>;
    using WorkList = std::list<Node*>;

    /// The files of a folder, or the sub-folders of one that are not entered yet.
    struct Node {
        std::shared_ptr<const Root> root;  ///< Until the folder is listed; null for roots.
        std::string prefix;
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

    /// What is closed and released once the lock is: declared before the lock is taken.
    struct Done {
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
    void addListing(Node& files, FolderListing listing, Done& done);
    void close(Node& files, Done& done);
    void addSubFolders(const Node& after, NameList names);
    void deliverReady(Done& done);
    void deliverNextBatch(Node& files);
    bool isDelivered(const Node& files) const;

    std::mutex mutex_;
    std::condition_variable changed_;
    WalkDelivery delivery_;
    Order order_;
    WorkList
        work_;  ///< What of `order_` is not all claimed, or is being listed; in the same order.
    ReaderGovernor governor_;
    const unsigned maxOpenFolders_;
    unsigned openFolders_ = 0;  ///< Being listed, or with candidates not examined.
    unsigned busy_ = 0;
    unsigned waiting_ = 0;
    std::size_t ahead_ = 0;  ///< Candidates claimed and not delivered.
    bool stopped_ = false;
    std::atomic<bool> understaffed_ = false;
};

}  // namespace vestigo
