#include "persist/file_memory_table.h"

#include <array>
#include <bit>
#include <chrono>
#include <optional>
#include <random>
#include <utility>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace vestigo {
namespace {

// What is asked for again by then stays: scans of some folders in turn all profit.
constexpr unsigned scansUnseen = 4;
static_assert(scansUnseen + 1 < FingerprintTable::generations);

constexpr std::size_t blockSize = 4096;
constexpr std::size_t bitsPerWord = 64;

FingerprintTable emptyTable() {
    std::random_device random;
    return {{(std::uint64_t{random()} << 32U) | random(), 0}, 0};
}

FingerprintTable tableAt(Files& files, const std::string& path) {
    auto bytes = files.read(path);
    auto table = bytes ? FingerprintTable::fromBytes(std::move(*bytes)) : std::nullopt;
    return table ? std::move(*table) : emptyTable();
}

}  // namespace

FileMemoryTable::FileMemoryTable() : table_(emptyTable()) {
    use(std::move(table_));
}

FileMemoryTable::FileMemoryTable(std::shared_ptr<Files> files, std::string path)
    : files_(std::move(files)), path_(std::move(path)), table_(tableAt(*files_, path_)) {
    use(std::move(table_));
}

void FileMemoryTable::use(FingerprintTable table) {
    table_ = std::move(table);
    seen_ = std::vector<std::atomic<std::uint64_t>>(table_.slotCount() / bitsPerWord + 1);
    added_.clear();
    addedCount_ = 0;
}

std::int64_t FileMemoryTable::now() const {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

std::uint64_t FileMemoryTable::fingerprint(std::string_view path,
                                           const FileAttributes& attributes) const {
    const auto seed = table_.identity().seed;
    const std::array state = {
        std::uint64_t{XXH3_64bits_withSeed(path.data(), path.size(), seed)},
        static_cast<std::uint64_t>(attributes.size),
        static_cast<std::uint64_t>(attributes.modified),
        static_cast<std::uint64_t>(attributes.changed),
        attributes.inode,
    };
    return XXH3_64bits_withSeed(state.data(), sizeof state, seed);
}

bool FileMemoryTable::contains(std::uint64_t fingerprint) {
    const auto slot = table_.find(fingerprint);
    if (!slot) return false;
    const auto bit = std::uint64_t{1} << (*slot % bitsPerWord);
    auto& word = seen_[*slot / bitsPerWord];
    if ((word.load(std::memory_order_relaxed) & bit) == 0) {
        word.fetch_or(bit, std::memory_order_relaxed);
    }
    return true;
}

void FileMemoryTable::add(std::span<const std::uint64_t> fingerprints) {
    const std::lock_guard lock(mutex_);
    for (const auto fingerprint : fingerprints) {
        if (addedCount_++ % blockSize == 0) added_.emplace_back().reserve(blockSize);
        added_.back().push_back(fingerprint);
    }
}

bool FileMemoryTable::isSeen(std::size_t slot) const {
    const auto word = seen_[slot / bitsPerWord].load(std::memory_order_relaxed);
    return (word >> (slot % bitsPerWord) & 1U) != 0;
}

std::size_t FileMemoryTable::unseen() const {
    std::size_t seen = 0;
    for (const auto& word : seen_) {
        seen += static_cast<std::size_t>(std::popcount(word.load(std::memory_order_relaxed)));
    }
    return table_.size() - seen;
}

void FileMemoryTable::finish() {
    // A few files that have gone since are no reason to write.
    if (addedCount_ == 0 && unseen() * 8 <= table_.size()) return;
    auto next = merged();
    if (files_) static_cast<void>(files_->replace(path_, next.bytes(), Access::ownerOnly));
    use(std::move(next));
}

FingerprintTable FileMemoryTable::merged() const {
    if (!files_) return mergedWith(table_);
    const auto written = tableAt(*files_, path_);
    const auto [seed, generation] = written.identity();
    const bool byAnother =
        seed == table_.identity().seed && generation != table_.identity().generation;
    return mergedWith(byAnother ? written : table_);
}

/// What this scan asked for or added, and what of the base was asked for some scans ago at most.
FingerprintTable FileMemoryTable::mergedWith(const FingerprintTable& base) const {
    const auto isAskedFor = [&](std::size_t slot) {
        if (&base == &table_) return isSeen(slot);
        const auto own = table_.find(base.at(slot));
        return own && isSeen(*own);
    };
    const auto isLeft = [&](std::size_t slot) {
        const auto age = base.age(slot);
        return age && *age < scansUnseen && !isAskedFor(slot);
    };
    auto count = addedCount_ + table_.size() - unseen();
    for (std::size_t slot = 0; slot < base.slotCount(); ++slot) count += isLeft(slot) ? 1 : 0;
    FingerprintTable result({base.identity().seed, base.identity().generation + 1}, count);
    for (std::size_t slot = 0; slot < table_.slotCount(); ++slot) {
        if (isSeen(slot)) result.insert(table_.at(slot), 0);
    }
    for (const auto& block : added_) {
        for (const auto fingerprint : block) result.insert(fingerprint, 0);
    }
    for (std::size_t slot = 0; slot < base.slotCount(); ++slot) {
        if (isLeft(slot)) result.insert(base.at(slot), *base.age(slot) + 1);
    }
    return result;
}

bool mayHoldFileMemory(Files& files, const std::string& path) {
    const auto bytes = files.read(path);
    return bytes ? bytes->empty() || FingerprintTable::isOne(*bytes) : !files.exists(path);
}

}  // namespace vestigo
