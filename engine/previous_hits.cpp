#include "engine/previous_hits.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <memory>
#include <utility>

namespace vestigo {
namespace {

constexpr unsigned positionBits = 32;
constexpr std::uint64_t positionMask = (std::uint64_t{1} << positionBits) - 1;

std::uint64_t hashOf(std::string_view path) {
    return std::hash<std::string_view>()(path);
}

bool hasUnknownArch(const BinaryHit& hit) {
    return std::ranges::any_of(hit.archs,
                               [](const std::string& arch) { return arch.starts_with("cpu("); });
}

}  // namespace

void PreviousHits::provide(HitList hits) {
    hits_ = std::move(hits);
    slots_.resize(std::bit_ceil(hits_.size() * 2 + 1));
    for (std::size_t i = 0; i < hits_.size(); ++i) {
        const auto& path = hits_[i]->path;
        const auto hash = hashOf(path);
        if (findIn(path, hash)) continue;
        auto slot = hash & (slots_.size() - 1);
        while (slots_[slot] != 0) slot = (slot + 1) & (slots_.size() - 1);
        slots_[slot] = (hash & ~positionMask) | (i + 1);
    }
    provided_.store(true, std::memory_order_release);
}

const HitRef* PreviousHits::find(std::string_view path) const {
    if (!provided_.load(std::memory_order_acquire)) return nullptr;
    return findIn(path, hashOf(path));
}

const HitRef* PreviousHits::findIn(std::string_view path, std::uint64_t hash) const {
    for (auto slot = hash & (slots_.size() - 1); slots_[slot] != 0;
         slot = (slot + 1) & (slots_.size() - 1)) {
        // Nearly all files are no hits. This rejects them without comparing a path.
        if (((slots_[slot] ^ hash) & ~positionMask) != 0) continue;
        const auto& hit = hits_[(slots_[slot] & positionMask) - 1];
        if (hit->path == path) return &hit;
    }
    return nullptr;
}

HitRef reusable(const HitRef& previous, const FileAttributes& now) {
    if (previous->size != now.size || previous->mtime != now.mtime) return nullptr;
    // A newer version of the program may know the processor, so the file is read again.
    if (hasUnknownArch(*previous)) return nullptr;
    if (now.ctime <= 0 || now.ctime == previous->ctime) return previous;
    auto hit = std::make_shared<BinaryHit>(*previous);
    hit->ctime = now.ctime;
    return hit;
}

}  // namespace vestigo
