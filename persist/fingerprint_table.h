// A set of fingerprints in the form that it has in its file, so that reading it needs no decoding.
//
// A header of 64 bytes is followed by slots of 8 bytes each; a slot of 0 is free. A fingerprint
// lies in the slot that its upper bits point to, or in the next free one after it. Its lowest three
// bits are replaced by the generation in which it was last asked for, counted modulo 8. The
// checksum in the header covers all bytes, so a damaged table is refused. A table with fewer free
// slots than it was made with is refused too, since a search ends at a free slot.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vestigo {

/// Not thread-safe, but const functions may run on several threads at a time.
class FingerprintTable {
public:
    static constexpr unsigned generations = 8;
    static constexpr std::size_t headerBytes = 64;
    /// The facts about a table as a whole, which are kept in its header.
    struct Identity {
        std::uint64_t seed = 0;        ///< Random; fingerprints are made with it.
        std::uint32_t generation = 0;  ///< Grows by one with each scan that writes the table.
        /// The time of writing by the clock that gives files their times; nanoseconds since 1970.
        std::int64_t madeAt = 0;
        std::uint16_t rules = 0;  ///< The version of the rules by which files were chosen.
    };

    /// Makes an empty table with room for `count` fingerprints.
    FingerprintTable(Identity identity, std::size_t count);
    /// Reads a table. Absent when the bytes are no whole table of this version and these rules.
    [[nodiscard]] static std::optional<FingerprintTable> fromBytes(std::string bytes,
                                                                   std::uint16_t rules);
    /// The identity in the first `headerBytes` of a table of this version, which is not checked.
    /// Absent when they are no such header.
    [[nodiscard]] static std::optional<Identity> identityIn(std::string_view start);
    /// Whether the bytes are a table of any version, even a damaged one. False for no bytes at all.
    [[nodiscard]] static bool isTable(std::string_view bytes);

    [[nodiscard]] Identity identity() const { return identity_; }
    [[nodiscard]] std::size_t slotCount() const;
    [[nodiscard]] std::size_t size() const { return size_; }
    /// The slot that holds a fingerprint; absent when none does.
    [[nodiscard]] std::optional<std::size_t> find(std::uint64_t fingerprint) const;
    /// How many generations ago the fingerprint in a slot was last asked for. Absent for a free
    /// slot.
    [[nodiscard]] std::optional<unsigned> age(std::size_t slot) const;
    /// The fingerprint in a slot that is not free, without its lowest bits, which are not kept.
    [[nodiscard]] std::uint64_t at(std::size_t slot) const;

    /// Adds a fingerprint of this age, unless it is there already. There must be room for it.
    void insert(std::uint64_t fingerprint, unsigned age);
    /// The bytes of the whole file, with a new checksum.
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
