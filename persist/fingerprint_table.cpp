#include "persist/fingerprint_table.h"

#include <algorithm>
#include <array>
#include <cstring>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace vestigo {
namespace {

constexpr std::uint16_t currentVersion = 2;
constexpr std::array<char, 8> mark = {'v', 'e', 's', 't', 'i', 'g', 'o', '\x1A'};

/// The header in the form that it has in the file. The mark stands at both ends, so that a table is
/// still recognised when one of them is damaged.
struct Header {
    std::array<char, 8> begin = mark;
    std::uint16_t version = currentVersion;
    std::uint16_t rules = 0;
    std::uint32_t generation = 0;
    std::uint64_t seed = 0;
    std::uint64_t slots = 0;
    std::uint64_t size = 0;
    std::uint64_t checksum = 0;  ///< Computed over all bytes with this field at 0.
    std::int64_t madeAt = 0;
    std::array<char, 8> end = mark;
};
constexpr auto headerBytes = FingerprintTable::headerBytes;
static_assert(sizeof(Header) == headerBytes);

constexpr std::uint64_t generationBits = FingerprintTable::generations - 1;

/// The number of slots for so many fingerprints. That is a little more than 11 bytes for each, with
/// which a search takes a few steps on average.
constexpr std::size_t slotsFor(std::size_t count) {
    return count + count * 4 / 10 + 8;
}

/// The fingerprint without the bits that make room for the generation; never 0, which means a free
/// slot.
constexpr std::uint64_t keptBits(std::uint64_t fingerprint) {
    const auto rest = fingerprint & ~generationBits;
    return rest == 0 ? generationBits + 1 : rest;
}

Header headerOf(std::string_view bytes) {
    Header header;
    std::memcpy(&header, bytes.data(), sizeof header);
    return header;
}

std::uint64_t checksumOf(const std::string& bytes) {
    auto header = headerOf(bytes);
    header.checksum = 0;
    const auto rest = std::string_view(bytes).substr(headerBytes);
    return XXH3_64bits_withSeed(rest.data(), rest.size(), XXH3_64bits(&header, sizeof header));
}

}  // namespace

FingerprintTable::FingerprintTable(Identity identity, std::size_t count)
    : bytes_(headerBytes + slotsFor(count) * sizeof(std::uint64_t), '\0'), identity_(identity) {}

std::optional<FingerprintTable> FingerprintTable::fromBytes(std::string bytes,
                                                            std::uint16_t rules) {
    if (bytes.size() < headerBytes) return std::nullopt;
    const auto header = headerOf(bytes);
    const auto slots = (bytes.size() - headerBytes) / sizeof(std::uint64_t);
    const bool whole = header.version == currentVersion && header.rules == rules &&
                       header.slots == slots && slots > 0 &&
                       bytes.size() == headerBytes + slots * sizeof(std::uint64_t) &&
                       header.checksum == checksumOf(bytes);
    if (!whole) return std::nullopt;
    FingerprintTable table(std::move(bytes));
    table.identity_ = {header.seed, header.generation, header.madeAt, header.rules};
    for (std::size_t i = 0; i < slots; ++i) table.size_ += table.slot(i) != 0 ? 1 : 0;
    if (table.size_ != header.size || slotsFor(table.size_) > slots) return std::nullopt;
    return table;
}

std::optional<FingerprintTable::Identity> FingerprintTable::identityIn(std::string_view start) {
    if (start.size() < headerBytes) return std::nullopt;
    const auto header = headerOf(start);
    if (header.version != currentVersion) return std::nullopt;
    return Identity{header.seed, header.generation, header.madeAt, header.rules};
}

bool FingerprintTable::isTable(std::string_view bytes) {
    if (bytes.size() < headerBytes)
        return bytes.starts_with(std::string_view(mark.data(), mark.size()));
    const auto header = headerOf(bytes);
    return header.begin == mark || header.end == mark;
}

std::size_t FingerprintTable::slotCount() const {
    return (bytes_.size() - headerBytes) / sizeof(std::uint64_t);
}

/// Spreads the upper half of the fingerprint evenly over the slots, without a slow division.
std::size_t FingerprintTable::firstSlot(std::uint64_t fingerprint) const {
    return static_cast<std::size_t>((fingerprint >> 32U) * slotCount() >> 32U);
}

std::uint64_t FingerprintTable::slot(std::size_t index) const {
    std::uint64_t value = 0;
    std::memcpy(&value, &bytes_[headerBytes + index * sizeof value], sizeof value);
    return value;
}

std::optional<std::size_t> FingerprintTable::find(std::uint64_t fingerprint) const {
    const auto wanted = keptBits(fingerprint);
    const auto count = slotCount();
    auto index = firstSlot(wanted);
    for (std::size_t steps = 0; steps < count; ++steps) {
        const auto value = slot(index);
        if (value == 0) return std::nullopt;
        if ((value & ~generationBits) == wanted) return index;
        if (++index == count) index = 0;
    }
    return std::nullopt;
}

std::optional<unsigned> FingerprintTable::age(std::size_t index) const {
    const auto value = slot(index);
    if (value == 0) return std::nullopt;
    return (identity_.generation - static_cast<unsigned>(value)) & generationBits;
}

std::uint64_t FingerprintTable::at(std::size_t index) const {
    return slot(index) & ~generationBits;
}

void FingerprintTable::insert(std::uint64_t fingerprint, unsigned age) {
    const auto wanted = keptBits(fingerprint);
    auto index = firstSlot(wanted);
    for (auto value = slot(index); value != 0; value = slot(index)) {
        if ((value & ~generationBits) == wanted) return;
        if (++index == slotCount()) index = 0;
    }
    const auto value = wanted | ((identity_.generation - age) & generationBits);
    std::memcpy(&bytes_[headerBytes + index * sizeof value], &value, sizeof value);
    ++size_;
}

const std::string& FingerprintTable::bytes() {
    Header header;
    header.rules = identity_.rules;
    header.madeAt = identity_.madeAt;
    header.generation = identity_.generation;
    header.seed = identity_.seed;
    header.slots = slotCount();
    header.size = size_;
    std::memcpy(bytes_.data(), &header, sizeof header);
    header.checksum = checksumOf(bytes_);
    std::memcpy(bytes_.data(), &header, sizeof header);
    return bytes_;
}

}  // namespace vestigo
