// How work is given out and delivered.
//
// One mutex guards all of the queue. It is held for moments: files are read and folders listed
// without it, and `Released` keeps closing and freeing out of it. A thread hands back a piece of
// work and claims the next one under one lock, so the lock is taken once for each piece.
//
// Work comes from the front of the order, because only the front can be delivered; what is finished
// further back must be kept. Two things could still pile up. A slow folder at the front holds back
// everything behind it: beyond `maxAhead` undelivered files no new work is given out until it is
// done. And each folder that is listed stays open until its files are read: when too many are open,
// threads get files to read in place of folders to list.
//
// The listener is called under the lock. That keeps the reports in order without a second queue; it
// only puts hits into a list, or posts a portion of them.
//
// A thread that gets work wakes at most one other, and only if there is more work, so threads do
// not wake up in vain. `finish` and the final counts run when all threads are done.
//
// The simpler way, one stack of folders for each thread with stealing, keeps memory bounded too.
// But it delivers in another order on each run, and the order of hits is part of a scan's result.
#include "engine/walk_queue.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace vestigo {
namespace {

// The system counts processor time in ticks of some milliseconds, so a sample must span several.
constexpr auto sampleInterval = std::chrono::milliseconds(20);

// Shares of the time of all processors: below the first the limit is doubled, above the second it
// is halved. In between it stays as it is, so that it does not swing.
constexpr double idle = 0.7;
constexpr double busy = 0.95;

constexpr std::int64_t progressEvery = 1000;
constexpr std::size_t hitsPerPartial = 2000;

// About 200 µs of work when the files are cached: much longer than a lock takes, much shorter than
// a scan.
constexpr std::size_t filesPerBatch = 64;

// Bounds the memory that finished files take up behind one slow folder at the front.
constexpr std::size_t maxAhead = 65536;

std::size_t batchCount(const NameList& candidates) {
    return (candidates.size() + filesPerBatch - 1) / filesPerBatch;
}

std::size_t batchEnd(const NameList& candidates, std::size_t batch) {
    return std::min(candidates.size(), (batch + 1) * filesPerBatch);
}

std::size_t batchSize(const NameList& candidates, std::size_t batch) {
    return batchEnd(candidates, batch) - batch * filesPerBatch;
}

std::string prefixOf(const std::string& folder) {
    return folder.ends_with('/') ? folder : folder + '/';
}

}  // namespace

ReaderGovernor::ReaderGovernor(unsigned most)
    : processors_(std::max(1U, std::thread::hardware_concurrency())),
      most_(most),
      limit_(std::min(processors_, most)) {}

void ReaderGovernor::tick() {
    const auto now = Clock::now();
    if (now - sampledAt_ < sampleInterval) return;
    const auto processorNow = std::clock();
    sample(std::chrono::duration<double>(now - sampledAt_).count(),
           static_cast<double>(processorNow - processorAt_) / CLOCKS_PER_SEC);
    sampledAt_ = now;
    processorAt_ = processorNow;
}

void ReaderGovernor::sample(double wall, double processor) {
    const double used = processor / (wall * processors_);
    if (used < idle) limit_ = std::min(most_, limit_ * 2);
    if (used > busy) limit_ = std::max(std::min(processors_, most_), limit_ / 2);
}

void WalkDelivery::deliver(ExaminedFiles&& batch,
                           const std::function<std::string(std::size_t)>& pathOf) {
    const auto before = scannedCount_;
    const auto countUpTo = [&](std::int64_t count) {
        for (auto next = (scannedCount_ / progressEvery + 1) * progressEvery; next <= count;
             next += progressEvery) {
            listener_.progress(next, pathOf(static_cast<std::size_t>(next - before - 1)));
        }
        scannedCount_ = count;
    };
    for (auto& [position, hit] : batch.hits) {
        countUpTo(before + position + 1);
        pending_.push_back(std::move(hit));
        if (pending_.size() == hitsPerPartial) {
            listener_.partial(std::exchange(pending_, {}), scannedCount_);
        }
    }
    countUpTo(before + batch.examined);
}

void WalkDelivery::finish() {
    listener_.final(std::exchange(pending_, {}), scannedCount_);
}

WalkQueue::WalkQueue(const std::vector<std::string>& roots, Limits limits, WalkListener& listener)
    : delivery_(listener), governor_(limits.workers), maxOpenFolders_(limits.openFolders) {
    auto& run = order_.emplace_back();
    run.isSubFolders = true;
    run.place = order_.begin();
    for (const auto& root : roots) run.listing.subFolders.add(root);
    if (roots.empty()) {
        order_.clear();
    } else {
        run.workPlace = work_.insert(work_.end(), &run);
    }
}

// Spins before it sleeps: the lock is held for far less time than it takes to fall asleep and be
// woken.
WalkQueue::Lock WalkQueue::lockSoon() {
    constexpr int tries = 200;
    Lock lock(mutex_, std::defer_lock);
    for (int i = 0; i < tries; ++i) {
        if (lock.try_lock()) return lock;
    }
    lock.lock();
    return lock;
}

std::optional<WalkQueue::Work> WalkQueue::claim() {
    auto lock = lockSoon();
    for (;;) {
        if (auto work = tryClaim()) return work;
        if (stopped_ || (busy_ == 0 && work_.empty())) break;
        ++waiting_;
        changed_.wait(lock);
        --waiting_;
    }
    changed_.notify_all();
    return std::nullopt;
}

std::optional<WalkQueue::Work> WalkQueue::tryClaim() {
    governor_.tick();
    if (stopped_ || busy_ >= governor_.limit() || tooFarAhead()) return std::nullopt;
    auto work = popFirst();
    if (!work) return std::nullopt;
    ++busy_;
    const bool isMoreToDo = !work_.empty() && busy_ < governor_.limit() && !tooFarAhead();
    if (waiting_ > 0 && isMoreToDo) changed_.notify_one();
    threadWanted_.store(waiting_ == 0 && isMoreToDo, std::memory_order_relaxed);
    return work;
}

// If no work is claimed, a thread must go on whatever is piled up: the work that the front waits
// for is then the first in the list, and nobody else would do it.
bool WalkQueue::tooFarAhead() const {
    return ahead_ > maxAhead && busy_ > 0;
}

std::optional<WalkQueue::Work> WalkQueue::popFirst() {
    // In a deep tree, listed folders that stay open add up at every level. Past the limit their
    // files are read first, which closes them.
    const bool mayOpen = openFolders_ < maxOpenFolders_;
    for (auto* const node : work_) {
        if (node->isSubFolders && mayOpen) return enterNext(*node);
        if (node->isListed) return popBatch(*node);
    }
    return std::nullopt;
}

WalkQueue::Work WalkQueue::enterNext(Node& run) {
    auto path = run.prefix + run.listing.subFolders[run.nextSubFolder++];
    const auto place = order_.emplace(run.place);
    auto& files = *place;
    files.place = place;
    files.prefix = prefixOf(path);
    files.root = run.root;
    files.workPlace = work_.insert(run.workPlace, &files);
    if (run.nextSubFolder == run.listing.subFolders.size()) {
        work_.erase(run.workPlace);
        order_.erase(run.place);
    }
    ++openFolders_;
    auto* const root = files.root ? files.root->folder.get() : nullptr;
    return ListWork{&files, std::move(path), root, root ? files.root->prefixSize : 0};
}

WalkQueue::Work WalkQueue::popBatch(Node& files) {
    const auto batch = files.nextBatch++;
    if (files.nextBatch == files.batches.size()) work_.erase(files.workPlace);
    const auto& candidates = files.listing.candidates;
    ahead_ += batchSize(candidates, batch);
    return ReadWork{&files,
                    batch,
                    &files.prefix,
                    &files.listing,
                    batch * filesPerBatch,
                    batchEnd(candidates, batch)};
}

std::optional<WalkQueue::Work> WalkQueue::listed(const ListWork& work, FolderListing listing) {
    {
        Released released;
        auto lock = lockSoon();
        --busy_;
        addListing(*work.files, std::move(listing), released);
        if (auto next = tryClaim()) return next;
    }
    return claim();
}

void WalkQueue::addListing(Node& files, FolderListing listing, Released& released) {
    files.isListed = true;
    files.batches.resize(batchCount(listing.candidates));
    if (!listing.filePrefix.empty()) files.prefix = listing.filePrefix;
    if (!listing.subFolders.empty()) {
        if (!files.root) {
            files.root = std::make_shared<const Root>(Root{listing.folder, files.prefix.size()});
        }
        addSubFolders(files, std::exchange(listing.subFolders, {}));
    }
    released.root = std::exchange(files.root, nullptr);
    files.listing = std::move(listing);
    if (!files.batches.empty()) return;
    close(files, released);
    work_.erase(files.workPlace);
    deliverReady(released);
}

void WalkQueue::addSubFolders(const Node& after, NameList names) {
    const auto place = order_.emplace(std::next(after.place));
    place->place = place;
    place->isSubFolders = true;
    place->root = after.root;
    place->prefix = after.prefix;
    place->listing.subFolders = std::move(names);
    place->workPlace = work_.insert(std::next(after.workPlace), &*place);
}

std::optional<WalkQueue::Work> WalkQueue::examined(const ReadWork& work, ExaminedFiles result) {
    {
        Released released;
        auto lock = lockSoon();
        --busy_;
        auto& files = *work.files;
        files.batches[work.batch] = std::move(result);
        if (++files.examinedBatches == files.batches.size()) close(files, released);
        if (files.place == order_.begin()) deliverReady(released);
        if (auto next = tryClaim()) return next;
    }
    return claim();
}

void WalkQueue::close(Node& files, Released& released) {
    --openFolders_;
    released.folder = std::move(files.listing.folder);
}

void WalkQueue::deliverReady(Released& released) {
    while (!order_.empty()) {
        auto& front = order_.front();
        if (front.isSubFolders || !front.isListed) return;
        while (!isDelivered(front) && front.batches[front.deliveredBatches]) {
            deliverNextBatch(front);
        }
        if (!isDelivered(front)) return;
        released.delivered.splice(released.delivered.end(), order_, order_.begin());
    }
}

bool WalkQueue::isDelivered(const Node& files) const {
    return files.deliveredBatches == files.batches.size();
}

void WalkQueue::deliverNextBatch(Node& files) {
    const auto batch = files.deliveredBatches++;
    const auto& candidates = files.listing.candidates;
    ahead_ -= batchSize(candidates, batch);
    const auto pathOf = [&](std::size_t position) {
        return files.prefix + candidates[batch * filesPerBatch + position];
    };
    delivery_.deliver(std::move(*files.batches[batch]), pathOf);
}

void WalkQueue::stop() {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    changed_.notify_all();
}

void WalkQueue::finish() {
    const std::lock_guard lock(mutex_);
    for (auto& node : order_) {
        while (!isDelivered(node)) {
            if (node.batches[node.deliveredBatches]) {
                deliverNextBatch(node);
            } else {
                ++node.deliveredBatches;
            }
        }
    }
    delivery_.finish();
}

}  // namespace vestigo
