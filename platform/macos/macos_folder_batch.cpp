// The system answers with a sequence of records. Each begins with its length and five words of bits
// that tell which attributes follow; these are packed in the order of their bits. Every read is
// checked against the length of the record, and a record with an attribute that was not requested
// is refused, since the place of all later ones would be unknown.
#include "platform/macos/macos_folder_batch.h"

#include <cstring>

#include "platform/clock.h"

namespace vestigo {
namespace {

/// The bits of the attributes that an entry has, in their five groups.
struct ReturnedAttributes {
    std::uint32_t common = 0;
    std::uint32_t volume = 0;
    std::uint32_t folder = 0;
    std::uint32_t file = 0;
    std::uint32_t fork = 0;
};

/// The place of a name, relative to this field itself.
struct NamePlace {
    std::int32_t offset = 0;
    std::uint32_t length = 0;  ///< Includes the NUL.
};

/// Reads one value after the other from an entry. Values are aligned to four bytes only, so they
/// are copied and not accessed in place.
class EntryFields {
public:
    explicit EntryFields(std::span<const std::byte> entry) : entry_(entry) {}

    template <class Value>
    bool read(Value& value) {
        if (entry_.size() - at_ < sizeof value) return false;
        std::memcpy(&value, entry_.data() + at_, sizeof value);
        at_ += sizeof value;
        return true;
    }

    /// Reads the value only when the entry has it.
    template <class Value>
    bool read(bool present, std::optional<Value>& value) {
        return !present || read(value.emplace());
    }

    bool readName(std::string_view& name) {
        const auto from = at_;
        NamePlace place;
        if (!read(place) || place.offset < 0 || place.length < 2) return false;
        const auto start = from + static_cast<std::size_t>(place.offset);
        if (start > entry_.size() || place.length > entry_.size() - start) return false;
        name = {reinterpret_cast<const char*>(entry_.data() + start), place.length};
        const auto end = name.find('\0');
        if (end == std::string_view::npos || end == 0) return false;
        name = name.substr(0, end);
        return name.find('/') == std::string_view::npos;
    }

private:
    std::span<const std::byte> entry_;
    std::size_t at_ = 0;
};

/// Attributes stand in the order of their bits, except for the error, which comes first.
bool decode(EntryFields fields, BatchEntry& entry) {
    std::uint32_t length = 0;
    ReturnedAttributes has;
    if (!fields.read(length) || !fields.read(has)) return false;
    const auto common = [&has](std::uint32_t bit) { return (has.common & bit) != 0; };
    const bool unknown = (has.common & ~BatchRequest::common) != 0 || has.volume != 0 ||
                         has.folder != 0 || (has.file & ~BatchRequest::dataLength) != 0 ||
                         has.fork != 0;
    if (unknown || !common(BatchRequest::name)) return false;
    std::optional<std::uint32_t> error;
    if (!fields.read(common(BatchRequest::error), error) || !fields.readName(entry.name)) {
        return false;
    }
    entry.failed = error.value_or(0) != 0;
    return fields.read(common(BatchRequest::objectType), entry.objectType) &&
           fields.read(common(BatchRequest::created), entry.created) &&
           fields.read(common(BatchRequest::modified), entry.modified) &&
           fields.read(common(BatchRequest::changed), entry.changed) &&
           fields.read(common(BatchRequest::flags), entry.flags) &&
           fields.read(common(BatchRequest::fileId), entry.fileId) &&
           fields.read((has.file & BatchRequest::dataLength) != 0, entry.dataLength);
}

}  // namespace

BatchEnd visitBatch(std::span<const std::byte> bytes, std::size_t count,
                    const std::function<bool(const BatchEntry&)>& visitor) {
    for (; count > 0; --count) {
        std::uint32_t length = 0;
        if (!EntryFields(bytes).read(length) || length > bytes.size()) {
            return BatchEnd::malformed;
        }
        BatchEntry entry;
        if (!decode(EntryFields(bytes.first(length)), entry)) return BatchEnd::malformed;
        if (!visitor(entry)) return BatchEnd::visitorStopped;
        bytes = bytes.subspan(length);
    }
    return BatchEnd::reached;
}

std::optional<EntryKind> kindOf(const BatchEntry& entry) {
    // The vnode types of <sys/vnode.h>.
    constexpr std::uint32_t regular = 1;
    constexpr std::uint32_t directory = 2;
    constexpr std::uint32_t link = 5;
    // Reading such a file would download it from the cloud, and a scan could fill the disk so.
    const bool isElsewhere = (entry.flags.value_or(0) & datalessFlag) != 0;
    if (entry.failed || isElsewhere) return EntryKind::unknown;
    if (!entry.objectType) return std::nullopt;
    switch (*entry.objectType) {
        case regular: return EntryKind::file;
        case directory: return EntryKind::folder;
        case link: return EntryKind::link;
        default: return EntryKind::other;
    }
}

bool isHidden(const BatchEntry& entry) {
    return entry.name.starts_with('.') || (entry.flags.value_or(0) & hiddenFlag) != 0;
}

FileAttributes attributesOf(const BatchEntry& entry) {
    return {.size = entry.dataLength.value_or(0),
            .mtime = entry.modified ? secondsSince2001(*entry.modified) : 0,
            .ctime = entry.created ? secondsSince2001(*entry.created) : 0,
            .modified = nanoseconds(entry.modified.value_or(BatchTime{})),
            .changed = nanoseconds(entry.changed.value_or(BatchTime{})),
            .inode = entry.fileId.value_or(0)};
}

std::int64_t nanoseconds(const BatchTime& time) {
    return nanosecondsSince1970(time.seconds, time.nanoseconds);
}

double secondsSince2001(const BatchTime& time) {
    return static_cast<double>(time.seconds) - secondsFrom1970To2001 +
           static_cast<double>(time.nanoseconds) * 1e-9;
}

}  // namespace vestigo
