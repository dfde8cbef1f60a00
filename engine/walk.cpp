// The threads of a walk, and how each file is examined.
//
// All threads run the same loop: they claim a piece of work from the queue (list one folder, or
// examine some files of a listed one), do it without any lock, and hand it back. The queue decides
// on the order; see walk_queue.h. A walk starts with the calling thread alone and adds a thread
// each time there is work for one more, so that the walk of a small folder starts no thread at all.
//
// Most files of a disk are no Mach-O files, and opening a file is what a walk spends its time on.
// Before a file is opened, cheaper sources are therefore asked, in this order: the hits of an
// earlier scan, the memory of other files, and the size. The first two compare the file's
// attributes with earlier ones. This is sound only if an answer is never kept under attributes that
// the file may still have after a change. Hence `isSettled`, and the care that `read` and
// `readAndRemember` take about which comes first, the attributes or the content.
#include "engine/walk.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <new>
#include <string_view>

#include "engine/mach_o.h"
#include "engine/scan_rules.h"
#include "engine/walk_queue.h"
#include "platform/clock.h"
#include "platform/paths.h"
#include "platform/tasks.h"

namespace vestigo {
namespace {

// Enough threads to keep a disk busy while nothing is cached; the queue lets only as many of them
// work as help. Compared with 32 threads, a scan of an uncached disk took 0.75 of the time with 64,
// and 0.6 with 128, which used more processor time.
constexpr unsigned maxThreads = 64;

/// Keeps the first path that could not be read. Thread-safe.
class FirstUnread {
public:
    void note(std::string path) {
        const std::lock_guard lock(mutex_);
        if (!path_) path_ = std::move(path);
    }
    [[nodiscard]] std::optional<std::string> path() const { return path_; }

private:
    std::mutex mutex_;
    std::optional<std::string> path_;
};

/// The threads of a walk: at first only the calling one, and one more whenever there is work for
/// it. Thread-safe.
class WorkerPool {
public:
    WorkerPool(unsigned most, WalkQueue& queue) : most_(most), queue_(queue) {
        threads_.reserve(most);
    }

    /// Runs `work` on the calling thread and on those that `grow` adds, and waits for all of them.
    /// Throws std::bad_alloc when one of them has run out of memory.
    void run(std::function<void()> work) {
        work_ = std::move(work);
        runOne();
        for (auto thread = next(); thread; thread = next()) thread.reset();
        if (failed_) throw std::bad_alloc();
    }

    /// Adds a thread, up to the limit. Any thread may call it while it works. If another one is
    /// adding a thread at the moment, it does nothing rather than wait.
    void grow() {
        const std::unique_lock lock(mutex_, std::try_to_lock);
        if (!lock || count_ >= most_) return;
        auto thread = startThread([this] { runOne(); }, smallStack);
        // When the system has no more threads to give, do not ask for one again.
        if (!thread) most_ = count_;
        if (!thread) return;
        ++count_;
        threads_.push_back(std::move(thread));
    }

private:
    void runOne() noexcept {
        try {
            work_();
        } catch (const std::bad_alloc&) {
            failed_ = true;
            queue_.stop();
        }
    }

    /// Takes a thread out of the list, for the caller to wait for; null when none is left. No
    /// thread is added any more once this has been called, since the calling thread found no more
    /// work.
    std::unique_ptr<Thread> next() {
        const std::lock_guard lock(mutex_);
        most_ = 0;
        if (threads_.empty()) return nullptr;
        auto thread = std::move(threads_.back());
        threads_.pop_back();
        return thread;
    }

    std::mutex mutex_;
    unsigned most_;
    unsigned count_ = 1;
    WalkQueue& queue_;
    std::function<void()> work_;
    std::atomic<bool> failed_ = false;
    std::vector<std::unique_ptr<Thread>> threads_;
};

/// The state and services that all threads of a walk share.
struct Shared {
    DirectoryReader& reader;
    const PreviousHits* const previous;
    FileMemory* const memory;
    const bool remembersHits;
    const bool rootsAreNamed;
    const std::vector<std::string>& rootsInExcludedPlaces;
    const CancelFlag& cancelled;
    WalkQueue& queue;
    FirstUnread& unread;
    WorkerPool& pool;
};

/// The work of one thread.
class Worker {
public:
    explicit Worker(const Shared& shared) : shared_(shared) {}

    void run() {
        auto work = shared_.queue.claim();
        while (work) {
            if (shared_.cancelled.cancelled()) shared_.queue.stop();
            if (shared_.queue.wantsAnotherThread()) shared_.pool.grow();
            work = std::visit([this](const auto& piece) { return done(piece); }, *work);
        }
    }

private:
    std::optional<WalkQueue::Work> done(const WalkQueue::ListWork& work) {
        return shared_.queue.listed(work, listFolder(work));
    }
    std::optional<WalkQueue::Work> done(const WalkQueue::ReadWork& work) {
        return shared_.queue.examined(work, examineFiles(work));
    }

    FolderListing listFolder(const WalkQueue::ListWork& work) const {
        FolderListing listing;
        const FolderExclusions exclusions(work.path.ends_with('/') ? work.path : work.path + '/',
                                          shared_.rootsInExcludedPlaces);
        if (exclusions.everything()) return listing;
        listing.folder = openFolder(work);
        if (!listing.folder && !work.root && shared_.rootsAreNamed) return listFile(work.path);
        const bool listed = listing.folder && listing.folder->list([&](const FolderEntry& entry) {
            if (shared_.cancelled.cancelled()) return false;
            if (!entry.hidden && !exclusions.excludes(entry.name)) classify(entry, work, &listing);
            return true;
        });
        if (!listed) shared_.unread.note(work.path);
        return listing;
    }

    std::shared_ptr<Folder> openFolder(const WalkQueue::ListWork& work) const {
        if (!work.root) return shared_.reader.open(work.path);
        return work.root->openFolder(std::string_view(work.path).substr(work.rootPrefixSize));
    }

    FolderListing listFile(const std::string& path) const {
        FolderListing listing;
        const auto name = path.size() - nameOf(path).size();
        listing.filePrefix = path.substr(0, name);
        listing.folder = shared_.reader.open(listing.filePrefix);
        const bool isFile = listing.folder && listing.folder->attributes(&path[name]);
        if (!isFile) shared_.unread.note(path);
        if (isFile && !isDatabaseName(&path[name])) listing.candidates.add(&path[name]);
        return listing;
    }

    void classify(const FolderEntry& entry, const WalkQueue::ListWork& work,
                  FolderListing* listing) const {
        if (entry.kind == EntryKind::unknown) {
            shared_.unread.note(work.path + "/" + std::string(entry.name));
        }
        if (entry.kind == EntryKind::folder) listing->subFolders.add(entry.name);
        if (entry.kind != EntryKind::file || isDatabaseName(entry.name)) return;
        listing->candidates.add(entry.name);
        if (!entry.attributes) return;
        listing->attributes.resize(listing->candidates.size() - 1);
        listing->attributes.push_back(entry.attributes);
    }

    ExaminedFiles examineFiles(const WalkQueue::ReadWork& work) {
        ExaminedFiles result;
        path_ = *work.prefix;
        startedAt_ = shared_.memory ? shared_.memory->now() : nanosecondsSince1970();
        for (auto i = work.first; i < work.last && !shared_.cancelled.cancelled(); ++i) {
            const char* const name = work.listing->candidates[i];
            path_.replace(work.prefix->size(), std::string::npos, name);
            std::optional<FileAttributes> attributes;
            if (i < work.listing->attributes.size()) attributes = work.listing->attributes[i];
            auto hit = examine(*work.listing->folder, name, attributes);
            if (hit) result.hits.emplace_back(result.examined, std::move(hit));
            ++result.examined;
        }
        remember();
        return result;
    }

    /// Adds the files at hand to the memory. When there is no room for them they are forgotten,
    /// which costs the next scan time.
    void remember() {
        try {
            if (!toRemember_.empty()) shared_.memory->add(toRemember_);
        } catch (const std::bad_alloc&) {
            toRemember_ = {};
        }
        toRemember_.clear();
    }

    /// Examines the file at `path_`. Null when it is no Mach-O file or could not be read.
    HitRef examine(Folder& folder, const char* name, std::optional<FileAttributes> attributes) {
        const auto* const previous = shared_.previous ? shared_.previous->find(path_) : nullptr;
        if (previous) {
            if (!attributes) attributes = folder.attributes(name);
            if (!attributes) return skipUnread();
            if (auto hit = reusable(*previous, *attributes)) return hit;
        }
        if (isRemembered(folder, name, attributes)) return nullptr;
        if (attributes && isTooSmall(*attributes)) return nullptr;
        const auto file = folder.openFile(name);
        if (!file) return skipUnread();
        return shared_.memory ? readAndRemember(*file) : read(*file, attributes);
    }

    HitRef read(HeaderFile& file, std::optional<FileAttributes> attributes) {
        auto archs = readArchs(file);
        if (archs && !attributes) {
            // The file may have been written between the reading and the asking. Its new attributes
            // would then stand for its old content in every later scan, so it is read again, unless
            // its times show that it was not written lately.
            attributes = file.attributes();
            if (!attributes) return skipUnread();
            if (!isSettled(*attributes)) archs = readArchs(file);
        }
        return archs ? hit(std::move(*archs), *attributes) : nullptr;
    }

    /// The attributes are asked for before the content is read, and from the open file: another
    /// file may stand at its path by now.
    HitRef readAndRemember(HeaderFile& file) {
        const auto attributes = file.attributes();
        if (!attributes) return skipUnread();
        const auto fingerprint = shared_.memory->fingerprint(path_, *attributes);
        if (contains(fingerprint)) return nullptr;
        auto archs = readArchs(file);
        const bool isToBeRemembered = wasRead_ && (!archs || shared_.remembersHits);
        if (isToBeRemembered && isSettled(*attributes)) toRemember_.push_back(fingerprint);
        return archs ? hit(std::move(*archs), *attributes) : nullptr;
    }

    /// Asking for attributes by name costs half as much as reading the file. After several files in
    /// a row that were not in the memory it is therefore done for every 16th file only, so that a
    /// first scan, or one after many files have changed, is hardly slower for it.
    bool isRemembered(Folder& folder, const char* name, std::optional<FileAttributes>& attributes) {
        constexpr unsigned patience = 4;
        constexpr unsigned pause = 16;
        if (!shared_.memory) return false;
        if (!attributes) {
            if (misses_ >= patience && misses_++ % pause != 0) return false;
            attributes = folder.attributes(name);
        }
        return attributes && contains(shared_.memory->fingerprint(path_, *attributes));
    }

    /// Whether the file is too small for any header. Some servers give wrong sizes; they give no
    /// change times either, and their files are read.
    static bool isTooSmall(const FileAttributes& attributes) {
        return attributes.size < machOSmallestBytes && attributes.changed != 0;
    }

    bool contains(std::uint64_t fingerprint) {
        const bool does = shared_.memory->contains(fingerprint);
        misses_ = does ? 0 : misses_ + 1;
        return does;
    }

    /// Whether the file has been unchanged for long enough that another change is sure to give it
    /// other times. Times have a limited resolution. And writing through a memory mapping changes
    /// them only once until the system has flushed those bytes, which takes up to 35 seconds.
    [[nodiscard]] bool isSettled(const FileAttributes& attributes) const {
        constexpr std::int64_t settlingTime = 60'000'000'000;
        return attributes.changed != 0 && attributes.inode != 0 &&
               std::max(attributes.modified, attributes.changed) < startedAt_ - settlingTime;
    }

    [[nodiscard]] HitRef hit(std::vector<std::string> archs,
                             const FileAttributes& attributes) const {
        return std::make_shared<const BinaryHit>(BinaryHit{path_, std::move(archs), attributes.size,
                                                           attributes.mtime, attributes.ctime});
    }

    std::optional<std::vector<std::string>> readArchs(HeaderFile& file) {
        const auto count = file.readStart(buffer_);
        wasRead_ = count.has_value();
        if (!wasRead_) shared_.unread.note(path_);
        return machOArchs(std::span(buffer_).first(count.value_or(0)));
    }

    HitRef skipUnread() const {
        shared_.unread.note(path_);
        return nullptr;
    }

    const Shared& shared_;
    std::string path_;
    std::array<std::byte, machOHeaderBytes> buffer_{};
    bool wasRead_ = false;        ///< The latest attempt to read a file succeeded.
    std::int64_t startedAt_ = 0;  ///< When work on this batch began, in nanoseconds since 1970.
    unsigned misses_ = 0;         ///< Files in a row that were not in the memory.
    std::vector<std::uint64_t> toRemember_;  ///< Fingerprints of this batch, for the memory.
};

/// The named roots that lie at or below an excluded place, without trailing slashes.
std::vector<std::string> rootsInExcludedPlaces(const WalkRequest& request) {
    std::vector<std::string> roots;
    if (!request.rootsAreNamed) return roots;
    for (auto root : request.roots) {
        while (root.size() > 1 && root.ends_with('/')) root.pop_back();
        const auto holds = [&root](std::string_view place) { return liesUnder(root, place); };
        if (std::ranges::any_of(excludedPrefixes(), holds)) roots.push_back(std::move(root));
    }
    return roots;
}

}  // namespace

WalkOutcome walk(DirectoryReader& reader, const WalkRequest& request, const CancelFlag& cancelled,
                 WalkListener& listener) {
    const auto opened = rootsInExcludedPlaces(request);
    const auto wanted = request.threads ? request.threads : maxThreads;
    const auto openFolders = reader.maxOpenFolders();
    const auto count = std::min(wanted, openFolders);
    WalkQueue queue(request.roots, {count, openFolders}, listener);
    WorkerPool pool(count, queue);
    if (cancelled.cancelled()) queue.stop();
    FirstUnread unread;
    const Shared shared{reader,
                        request.previous,
                        request.memory,
                        request.remembersHits,
                        request.rootsAreNamed,
                        opened,
                        cancelled,
                        queue,
                        unread,
                        pool};
    pool.run([&shared] { Worker(shared).run(); });
    queue.finish();
    return {unread.path()};
}

}  // namespace vestigo
