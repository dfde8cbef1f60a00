// How the memory of other files is used and renewed.
//
// During a scan the table that was read is constant. Threads look fingerprints up without a lock
// and mark those that they find in `seen_`; only new fingerprints are collected under a mutex. At
// the end a new table is made and replaces the file.
//
// A fingerprint stays for a few scans after it was last asked for, counted in generations. So scans
// of different folders in turn do not forget each other's files, and files that are gone do not
// accumulate.
//
// Two programs may scan at a time. The later one merges its fingerprints into what the earlier one
// has written, if both started from the same table (it has the same seed, by which fingerprints are
// made); otherwise it replaces the file, which costs time and no result. There is no lock, since a
// lost update does no more harm than that.
//
// Nobody must be able to make a file that passes for a remembered one, so fingerprints are made
// with a random seed and only a file that the user alone can write is read.
#include "persist/file_memory_table.h"

#include <array>
#include <bit>
#include <chrono>
#include <limits>
#include <optional>
#include <random>
#include <utility>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include "engine/mach_o.h"

namespace vestigo {
namespace {

// A fingerprint is forgotten if this many scans in a row have not asked for it.
constexpr unsigned scansUnseen = 4;
static_assert(scansUnseen + 1 < FingerprintTable::generations);

constexpr std::size_t blockSize = 4096;
constexpr std::size_t bitsPerWord = 64;

FingerprintTable emptyTable() {
    std::random_device random;
    return {{.seed = (std::uint64_t{random()} << 32U) | random(), .rules = machORules}, 0};
}

std::optional<FingerprintTable> tableAt(Files& files, const std::string& path, std::int64_t now) {
    auto content = files.readOwn(path, std::numeric_limits<std::size_t>::max());
    if (!content.problem.empty()) return std::nullopt;
    auto table = FingerprintTable::fromBytes(std::move(content.bytes), machORules);
    // The clock was set back, so files may now get times that they have had before in another
    // state.
    if (table && table->identity().madeAt > now) return std::nullopt;
    return table;
}

}  // namespace

FileMemoryTable::FileMemoryTable(Clock clock) : clock_(std::move(clock)), table_(emptyTable()) {
    use(std::move(table_));
}

FileMemoryTable::FileMemoryTable(std::shared_ptr<Files> files, std::string path, Clock clock)
    : FileMemoryTable(std::move(clock)) {
    files_ = std::move(files);
    path_ = std::move(path);
    auto table = tableAt(*files_, path_, now());
    isInFile_ = table.has_value();
    if (table) use(std::move(*table));
}

void FileMemoryTable::use(FingerprintTable table) {
    seen_ = std::vector<std::atomic<std::uint64_t>>(table.slotCount() / bitsPerWord + 1);
    table_ = std::move(table);
    added_.clear();
    addedCount_ = 0;
}

std::int64_t FileMemoryTable::systemClock() {
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
        attributes.fileSystem,
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
    // If nothing was added and few files are gone, the file is not worth writing.
    const bool same = addedCount_ == 0 && unseen() * 8 <= table_.size();
    if (same && (isInFile_ || !files_)) return;
    auto next = merged();
    if (files_) isInFile_ = files_->replace(path_, next.bytes(), Access::ownerOnly);
    use(std::move(next));
}

FingerprintTable FileMemoryTable::merged() const {
    if (!files_ || !wasWrittenByAnother()) return mergedWith(table_);
    const auto written = tableAt(*files_, path_, now());
    return mergedWith(written ? *written : table_);
}

/// Reads only the header. A second whole table would be the peak of memory in a scan of many files.
bool FileMemoryTable::wasWrittenByAnother() const {
    const auto start = files_->readOwn(path_, FingerprintTable::headerBytes);
    const auto written = FingerprintTable::identityIn(start.bytes);
    return written && written->seed == table_.identity().seed &&
           written->generation != table_.identity().generation;
}

/// A table of the fingerprints that this scan has asked for or added, and of those in `base` that
/// were asked for a few scans ago at most.
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
    auto identity = base.identity();
    ++identity.generation;
    identity.madeAt = now();
    FingerprintTable result(identity, count);
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

std::optional<std::string> fileMemoryProblem(Files& files, const std::string& path) {
    if (!files.exists(path)) return std::nullopt;
    const auto start = files.readOwn(path, FingerprintTable::headerBytes);
    if (!start.problem.empty()) return "cannot use " + path + ": " + start.problem;
    if (start.bytes.empty() || FingerprintTable::isTable(start.bytes)) return std::nullopt;
    return path + " is no cache of this program, and is left alone";
}

}  // namespace vestigo
