// A set of fingerprints in the form in which it lies in a file: looked up there, without decoding.
//
// After a header of 64 bytes come the slots, 8 bytes each; a slot of 0 is free. A fingerprint lies
// in the slot that its upper bits point to, or in the first free one behind it. Its lowest three
// bits give way to the generation in which it was last asked for, counted modulo 8. The checksum in
// the header covers everything, so a table that was damaged is not taken for one. Nor is one with
// fewer free slots than it was made with: a search ends at a free one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vestigo {

class FingerprintTable {
public:
    static constexpr unsigned generations = 8;
    static constexpr std::size_t headerBytes = 64;
    struct Identity {
        std::uint64_t seed = 0;  ///< That fingerprints are made with, so that none is foreseen.
        std::uint32_t generation = 0;
        std::int64_t madeAt = 0;  ///< By the clock that files get their times from.
        std::uint16_t rules = 0;  ///< By which the fingerprints were chosen.
    };

    /// Empty, with room for `count` fingerprints.
    FingerprintTable(Identity identity, std::size_t count);
    /// Absent when the bytes are no whole table of this version, or one by other rules.
    [[nodiscard]] static std::optional<FingerprintTable> fromBytes(std::string bytes,
                                                                   std::uint16_t rules);
    /// What the first `headerBytes` of a table of this version say of it, unchecked. Absent when
    /// they are no such header.
    [[nodiscard]] static std::optional<Identity> identityIn(std::string_view start);
    /// Whether the bytes are a table of any version, maybe a damaged one. Nothing at all is not.
    [[nodiscard]] static bool isOne(std::string_view bytes);

    [[nodiscard]] Identity identity() const { return identity_; }
    [[nodiscard]] std::size_t slotCount() const;
    [[nodiscard]] std::size_t size() const { return size_; }
    /// The slot in which a fingerprint lies.
    [[nodiscard]] std::optional<std::size_t> find(std::uint64_t fingerprint) const;
    /// Generations since the one in a slot was last asked for. Absent for a free slot.
    [[nodiscard]] std::optional<unsigned> age(std::size_t slot) const;
    /// The fingerprint in a slot that is not free, as far as it is kept.
    [[nodiscard]] std::uint64_t at(std::size_t slot) const;

    /// Adds a fingerprint of this age that is not there yet. There must be room for it.
    void insert(std::uint64_t fingerprint, unsigned age);
    /// The bytes to write, with their checksum.
    [[nodiscard]] const std::string& bytes();

private:
    explicit FingerprintTable(std::string bytes) : bytes_(std::move(bytes)) {}

    [[nodiscard]] std::size_t firstSlot(std::uint64_t fingerprint) const;
    [[nodiscard]] std::uint64_t slot(std::size_t index) const;

    std::string bytes_;
    Identity identity_;
    std::size_t size_ = 0;
};

}  // namespace vestigo
