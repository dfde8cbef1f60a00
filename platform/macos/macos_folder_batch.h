// Decodes the answer to a getattrlistbulk call: entries of a folder, with the attributes that a
// scan needs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>

#include "platform/directory_reader.h"

namespace vestigo {

/// A time in the system's own form, counted from 1970.
struct BatchTime {
    std::int64_t seconds = 0;
    std::int64_t nanoseconds = 0;
};

/// Bits of the file flags.
inline constexpr std::uint32_t hiddenFlag = 0x8000;
inline constexpr std::uint32_t datalessFlag = 0x40000000;

/// One entry. An attribute that the file system did not report is absent. The name lives as long as
/// the batch and is followed by a NUL.
struct BatchEntry {
    std::string_view name;
    bool failed = false;  ///< The system could give nothing but the name.
    std::optional<std::uint32_t> objectType;
    std::optional<BatchTime> created;
    std::optional<BatchTime> modified;
    std::optional<BatchTime> changed;  ///< The time of the inode's last change.
    std::optional<std::uint32_t> flags;
    std::optional<std::uint64_t> fileId;
    std::optional<std::int64_t> dataLength;  ///< Of the data fork, in bytes.
};

/// The requested attributes, as bits of `attrlist`. No others may be requested: the answer is
/// packed, so an attribute that the decoder does not know would shift all that follow.
struct BatchRequest {
    static constexpr std::uint32_t returned = 0x80000000;
    static constexpr std::uint32_t error = 0x20000000;
    static constexpr std::uint32_t name = 0x00000001;
    static constexpr std::uint32_t objectType = 0x00000008;
    static constexpr std::uint32_t created = 0x00000200;
    static constexpr std::uint32_t modified = 0x00000400;
    static constexpr std::uint32_t changed = 0x00000800;
    static constexpr std::uint32_t flags = 0x00040000;
    static constexpr std::uint32_t fileId = 0x02000000;
    static constexpr std::uint32_t common =
        returned | error | name | objectType | created | modified | changed | flags | fileId;
    static constexpr std::uint32_t dataLength = 0x00000200;  ///< In the group of file attributes.
};

/// `malformed`: an entry does not fit into the bytes or makes no sense.
enum class BatchEnd : std::uint8_t { reached, visitorStopped, malformed };

/// Calls the visitor for up to `count` entries, until it returns false. Reads nothing outside
/// `bytes`.
[[nodiscard]] BatchEnd visitBatch(std::span<const std::byte> bytes, std::size_t count,
                                  const std::function<bool(const BatchEntry&)>& visitor);

/// The kind of an entry. `unknown` when the entry could not be read, or when its content lies in a
/// cloud and opening it would download it. Absent when the file system did not report the kind.
[[nodiscard]] std::optional<EntryKind> kindOf(const BatchEntry& entry);
[[nodiscard]] bool isHidden(const BatchEntry& entry);
[[nodiscard]] FileAttributes attributesOf(const BatchEntry& entry);
[[nodiscard]] std::int64_t nanoseconds(const BatchTime& time);
[[nodiscard]] double secondsSince2001(const BatchTime& time);

}  // namespace vestigo
