#include "platform/linux/byte_source.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/folder_access.h"

namespace vestigo {
namespace {

bool liesWithin(std::uint64_t size, std::uint64_t offset, std::uint64_t length) {
    return offset <= size && length <= size - offset;
}

}  // namespace

std::optional<std::vector<std::byte>> readBytes(const ByteSource& source, std::uint64_t offset,
                                                std::uint64_t length) {
    if (!liesWithin(source.size(), offset, length)) return std::nullopt;
    std::vector<std::byte> bytes(length);
    if (!source.read(offset, bytes)) return std::nullopt;
    return bytes;
}

bool MemoryBytes::read(std::uint64_t offset, std::span<std::byte> into) const {
    if (!liesWithin(bytes_.size(), offset, into.size())) return false;
    std::ranges::copy(bytes_.subspan(offset, into.size()), into.begin());
    return true;
}

ByteRange::ByteRange(const ByteSource& source, std::uint64_t offset, std::uint64_t length)
    : source_(source),
      offset_(std::min(offset, source.size())),
      size_(std::min(length, source.size() - offset_)) {}

bool ByteRange::read(std::uint64_t offset, std::span<std::byte> into) const {
    return liesWithin(size_, offset, into.size()) && source_.read(offset_ + offset, into);
}

// Without O_NONBLOCK the open would wait for the other end of a named pipe, or for a program that
// holds a lease on the file.
const int FileBytes::openFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY;

std::optional<FileBytes> FileBytes::open(const std::string& path) {
    return of(openPathPatiently(path, openFlags, O_PATH | O_DIRECTORY));
}

std::optional<FileBytes> FileBytes::of(Descriptor file) {
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return FileBytes(std::move(file), static_cast<std::uint64_t>(status.st_size));
}

bool FileBytes::read(std::uint64_t offset, std::span<std::byte> into) const {
    if (!liesWithin(size_, offset, into.size())) return false;
    while (!into.empty()) {
        const auto count =
            ::pread(file_.get(), into.data(), into.size(), static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        offset += static_cast<std::uint64_t>(count);
        into = into.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

}  // namespace vestigo
