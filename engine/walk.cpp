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

// What keeps a cold disk busy; the queue lets no more of them work than help. Compared with 32, a
// cold scan took 0.75 of the time with 64 and 0.6 with 128, which took more processor time.
constexpr unsigned maxThreads = 64;

/// Keeps the first path that could not be looked at. Thread-safe.
class Unread {
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

/// The threads of a walk: at first only the one that called for it, and another whenever there is
/// work for one more. Thread-safe.
class Crew {
public:
    /// Every thread runs `work`, which calls `grow`; most of them find that there are enough.
    Crew(unsigned most, WalkQueue& queue) : most_(most), queue_(queue) { threads_.reserve(most); }

    void run(std::function<void()> work) {
        work_ = std::move(work);
        runOne();
        for (auto thread = next(); thread; thread = next()) thread.reset();
        if (failed_) throw std::bad_alloc();
    }

    void grow() {
        const std::unique_lock lock(mutex_, std::try_to_lock);
        if (!lock || count_ >= most_) return;
        auto thread = startThread([this] { runOne(); }, smallStack);
        // Once the system has no more to give, asking again would only take time.
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

    /// One to wait for. When there is none left, there will be no other.
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

/// What all threads of a walk share.
struct Shared {
    DirectoryReader& reader;
    const PreviousHits* const previous;
    FileMemory* const memory;
    const bool remembersHits;
    const bool rootsAreNamed;
    const std::vector<std::string>& rootsInExcludedPlaces;
    const CancelFlag& cancelled;
    WalkQueue& queue;
    Unread& unread;
    Crew& crew;
};

/// One thread of the walk.
class Worker {
public:
    explicit Worker(const Shared& shared) : shared_(shared) {}

    void run() {
        auto work = shared_.queue.claim();
        while (work) {
            if (shared_.cancelled.cancelled()) shared_.queue.stop();
            if (shared_.queue.wantsAnotherThread()) shared_.crew.grow();
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
            if (!entry.hidden && !exclusions.excludes(entry.name)) sort(entry, work, &listing);
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

    void sort(const FolderEntry& entry, const WalkQueue::ListWork& work,
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

    /// For want of memory nothing is remembered, which costs the next scan time.
    void remember() {
        try {
            if (!known_.empty()) shared_.memory->add(known_);
        } catch (const std::bad_alloc&) {
            known_ = {};
        }
        known_.clear();
    }

    /// The file at `path_`. Null when it is no Mach-O file.
    HitRef examine(Folder& folder, const char* name, std::optional<FileAttributes> attributes) {
        const auto* const previous = shared_.previous ? shared_.previous->find(path_) : nullptr;
        if (previous) {
            if (!attributes) attributes = folder.attributes(name);
            if (!attributes) return unread();
            if (auto hit = reusable(*previous, *attributes)) return hit;
        }
        if (isRemembered(folder, name, attributes)) return nullptr;
        if (attributes && isTooSmall(*attributes)) return nullptr;
        const auto file = folder.openFile(name);
        if (!file) return unread();
        return shared_.memory ? readAndRemember(*file) : read(*file, attributes);
    }

    HitRef read(HeaderFile& file, std::optional<FileAttributes> attributes) {
        auto archs = readArchs(file);
        if (archs && !attributes) {
            // A file written between the reading and the asking would keep its old answer for as
            // long as these attributes hold, so what counts is read after them.
            attributes = file.attributes();
            if (!attributes) return unread();
            if (!isSettled(*attributes)) archs = readArchs(file);
        }
        return archs ? hit(std::move(*archs), *attributes) : nullptr;
    }

    /// As a file is remembered by these attributes, they too come before what is read, and from the
    /// file that is read, whatever stands at its path by now.
    HitRef readAndRemember(HeaderFile& file) {
        const auto attributes = file.attributes();
        if (!attributes) return unread();
        const auto fingerprint = shared_.memory->fingerprint(path_, *attributes);
        if (contains(fingerprint)) return nullptr;
        auto archs = readArchs(file);
        const bool isToBeRemembered = wasRead_ && (!archs || shared_.remembersHits);
        if (isToBeRemembered && isSettled(*attributes)) known_.push_back(fingerprint);
        return archs ? hit(std::move(*archs), *attributes) : nullptr;
    }

    /// Asking by name costs as much as half a reading. Where it has often been in vain it is tried
    /// now and then only: so a first scan, or one after a great change, is hardly slower.
    bool isRemembered(Folder& folder, const char* name, std::optional<FileAttributes>& attributes) {
        constexpr unsigned patience = 4;
        constexpr unsigned pause = 16;
        if (!shared_.memory) return false;
        if (!attributes) {
            if (inVain_ >= patience && inVain_++ % pause != 0) return false;
            attributes = folder.attributes(name);
        }
        return attributes && contains(shared_.memory->fingerprint(path_, *attributes));
    }

    /// For any header. Where sizes are not known to be true, as with some servers, it is read.
    static bool isTooSmall(const FileAttributes& attributes) {
        return attributes.size < machOSmallestBytes && attributes.changed != 0;
    }

    bool contains(std::uint64_t fingerprint) {
        const bool does = shared_.memory->contains(fingerprint);
        inVain_ = does ? 0 : inVain_ + 1;
        return does;
    }

    /// Whether a further change would have given the file other times. What is written through a
    /// mapping moves them once, and then not again before the system has brought those bytes to
    /// the disk, which takes it up to 35 seconds.
    [[nodiscard]] bool isSettled(const FileAttributes& attributes) const {
        constexpr std::int64_t longest = 60'000'000'000;
        return attributes.changed != 0 && attributes.inode != 0 &&
               std::max(attributes.modified, attributes.changed) < startedAt_ - longest;
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

    HitRef unread() const {
        shared_.unread.note(path_);
        return nullptr;
    }

    const Shared& shared_;
    std::string path_;
    std::array<std::byte, machOHeaderBytes> buffer_{};
    bool wasRead_ = false;              ///< What was last to be read.
    std::int64_t startedAt_ = 0;        ///< Of the files at hand, in nanoseconds since 1970.
    unsigned inVain_ = 0;               ///< Files in a row that were asked for and not remembered.
    std::vector<std::uint64_t> known_;  ///< Of the files at hand, those to be remembered.
};

/// The roots that open a place which scans leave out, without a slash at their end.
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
    Crew crew(count, queue);
    if (cancelled.cancelled()) queue.stop();
    Unread unread;
    const Shared shared{reader,
                        request.previous,
                        request.memory,
                        request.remembersHits,
                        request.rootsAreNamed,
                        opened,
                        cancelled,
                        queue,
                        unread,
                        crew};
    crew.run([&shared] { Worker(shared).run(); });
    queue.finish();
    return {unread.path()};
}

}  // namespace vestigo
