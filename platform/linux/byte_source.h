// Bytes that can be read at an offset: a file, a range of another source, or memory.
//
// Parsers of untrusted formats use it: a read that does not lie within the source fails as a whole,
// so they need not trust any offset, count or length in a file.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/posix/descriptor.h"

namespace vestigo {

class ByteSource {
public:
    virtual ~ByteSource() = default;
    [[nodiscard]] virtual std::uint64_t size() const = 0;
    /// Fills all of `into`; false when the range does not lie within the source or cannot be read.
    [[nodiscard]] virtual bool read(std::uint64_t offset, std::span<std::byte> into) const = 0;
};

/// Absent when the range does not lie within the source. Never allocates more than the source has.
[[nodiscard]] std::optional<std::vector<std::byte>> readBytes(const ByteSource& source,
                                                              std::uint64_t offset,
                                                              std::uint64_t length);

/// Does not own the bytes.
class MemoryBytes : public ByteSource {
public:
    explicit MemoryBytes(std::span<const std::byte> bytes) : bytes_(bytes) {}
    [[nodiscard]] std::uint64_t size() const override { return bytes_.size(); }
    [[nodiscard]] bool read(std::uint64_t offset, std::span<std::byte> into) const override;

private:
    std::span<const std::byte> bytes_;
};

/// The part of `source` that begins at `offset` and has at most `length` bytes; it has fewer, or
/// none, where the source ends earlier. The source must outlive it.
class ByteRange : public ByteSource {
public:
    ByteRange(const ByteSource& source, std::uint64_t offset, std::uint64_t length);
    [[nodiscard]] std::uint64_t size() const override { return size_; }
    [[nodiscard]] bool read(std::uint64_t offset, std::span<std::byte> into) const override;

private:
    const ByteSource& source_;
    std::uint64_t offset_;
    std::uint64_t size_;
};

class FileBytes : public ByteSource {
public:
    /// The flags with which a file for `of` should be opened; they keep the open from blocking.
    static const int openFlags;
    /// Follows links and never blocks. Absent when the file cannot be opened or is not regular. The
    /// path may be longer than one call takes.
    [[nodiscard]] static std::optional<FileBytes> open(const std::string& path);
    /// Absent when the descriptor owns nothing or its file is not regular.
    [[nodiscard]] static std::optional<FileBytes> of(Descriptor file);
    [[nodiscard]] std::uint64_t size() const override { return size_; }
    [[nodiscard]] bool read(std::uint64_t offset, std::span<std::byte> into) const override;

private:
    FileBytes(Descriptor file, std::uint64_t size) : file_(std::move(file)), size_(size) {}

    Descriptor file_;
    std::uint64_t size_;
};

/// The unsigned number at `offset`; all its bytes must lie within `bytes`.
template <class Number>
[[nodiscard]] Number numberAt(std::span<const std::byte> bytes, std::size_t offset,
                              std::endian order = std::endian::big) {
    std::byte raw[sizeof(Number)];
    std::ranges::copy(bytes.subspan(offset, sizeof(Number)), raw);
    if (order != std::endian::native) std::ranges::reverse(raw);
    return std::bit_cast<Number>(raw);
}

}  // namespace vestigo
