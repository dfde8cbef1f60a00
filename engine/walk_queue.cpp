#include "engine/walk_queue.h"

#include <algorithm>
#include <utility>

namespace vestigo {
namespace {

// Some 200 µs of work with a warm cache: long beside a lock, short beside a scan.
constexpr std::size_t filesPerBatch = 64;

// One slow folder at the front may not make the others pile up without end.
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

WalkQueue::WalkQueue(const std::vector<std::string>& roots, unsigned workers,
                     WalkListener& listener)
    : delivery_(listener), workers_(workers) {
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

std::optional<WalkQueue::Work> WalkQueue::claim() {
    std::unique_lock lock(mutex_);
    for (;;) {
        if (stopped_) return std::nullopt;
        if (busy_ < workers_ && !tooFarAhead()) {
            if (auto work = takeFirst()) {
                ++busy_;
                return work;
            }
            if (busy_ == 0) return std::nullopt;
        }
        changed_.wait(lock);
    }
}

// Whoever is alone must go on: what the front waits for is then first in the list.
bool WalkQueue::tooFarAhead() const {
    return ahead_ > maxAhead && busy_ > 0;
}

std::optional<WalkQueue::Work> WalkQueue::takeFirst() {
    for (auto* const node : work_) {
        if (node->isSubFolders) return enterNext(*node);
        if (node->isListed) return takeBatch(*node);
    }
    return std::nullopt;
}

WalkQueue::Work WalkQueue::enterNext(Node& run) {
    // The roots stand as they were given, below nothing.
    const auto links = run.prefix.empty() ? LinkRule::follow : LinkRule::refuse;
    ListWork work{nullptr, run.prefix + run.listing.subFolders[run.nextSubFolder++], links};
    const auto place = order_.emplace(run.place);
    auto& files = *place;
    files.place = place;
    files.prefix = prefixOf(work.path);
    files.workPlace = work_.insert(run.workPlace, &files);
    if (run.nextSubFolder == run.listing.subFolders.size()) {
        work_.erase(run.workPlace);
        order_.erase(run.place);
    }
    work.files = &files;
    return work;
}

WalkQueue::Work WalkQueue::takeBatch(Node& files) {
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

void WalkQueue::listed(const ListWork& work, FolderListing listing) {
    const std::lock_guard lock(mutex_);
    auto& files = *work.files;
    files.isListed = true;
    files.batches.resize(batchCount(listing.candidates));
    if (!listing.subFolders.empty()) {
        addSubFolders(files, files.prefix, std::exchange(listing.subFolders, {}));
    }
    files.listing = std::move(listing);
    if (files.batches.empty()) {
        files.listing.folder.reset();
        work_.erase(files.workPlace);
        deliverReady();
    }
    handBack();
}

void WalkQueue::addSubFolders(const Node& after, std::string prefix, NameList names) {
    const auto place = order_.emplace(std::next(after.place));
    place->place = place;
    place->isSubFolders = true;
    place->prefix = std::move(prefix);
    place->listing.subFolders = std::move(names);
    place->workPlace = work_.insert(std::next(after.workPlace), &*place);
}

void WalkQueue::examined(const ReadWork& work, ExaminedFiles result) {
    const std::lock_guard lock(mutex_);
    work.files->batches[work.batch] = std::move(result);
    if (work.files->place == order_.begin()) deliverReady();
    handBack();
}

void WalkQueue::handBack() {
    --busy_;
    changed_.notify_all();
}

void WalkQueue::deliverReady() {
    while (!order_.empty()) {
        auto& front = order_.front();
        if (front.isSubFolders || !front.isListed) return;
        while (!isDelivered(front) && front.batches[front.deliveredBatches]) {
            deliverNextBatch(front);
        }
        if (!isDelivered(front)) return;
        order_.pop_front();
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
