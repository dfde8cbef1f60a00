// A binary list is a table of objects; containers refer to objects by number. The guard reads only
// this skeleton, without recursion, and follows every reference as the parser will. A container to
// which several others refer is followed once for each of them: ten levels of ten references to the
// same child stand for 10^10 objects. So limits on the depth and on the number of references that
// were followed bound the stack, the work and the memory of the parser, also for a container that
// holds itself.
//
// For XML the number of opening tags bounds the nesting, wherever they stand, so the text need not
// be parsed. Formats other than these two are refused.
#include "platform/linux/plist_guard.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace vestigo {
namespace {

constexpr std::size_t maxXmlContainers = 10'000;
constexpr std::size_t maxDepth = 512;
constexpr std::size_t maxReferences = 100'000;
constexpr std::size_t trailerBytes = 32;

/// A big-endian number of 1 to 8 bytes, which must lie within `content`.
std::uint64_t number(std::string_view content, std::size_t offset, std::size_t length) {
    std::uint64_t value = 0;
    for (const auto character : content.substr(offset, length)) {
        value = value << 8U | static_cast<unsigned char>(character);
    }
    return value;
}

/// The place in the file of the references that a container holds.
struct References {
    std::size_t offset = 0;
    std::size_t count = 0;
};

/// The skeleton of a binary list: where each object stands, and which objects a container refers
/// to.
class BinaryList {
public:
    /// Absent when the list's trailer or object table makes no sense.
    static std::optional<BinaryList> open(std::string_view content);

    [[nodiscard]] std::uint64_t top() const { return top_; }
    [[nodiscard]] std::uint64_t reference(const References& references, std::size_t i) const {
        return number(content_, references.offset + i * referenceSize_, referenceSize_);
    }
    /// No references for an object that is no container. Absent when the object does not lie within
    /// the file.
    [[nodiscard]] std::optional<References> references(std::uint64_t object) const;

private:
    explicit BinaryList(std::string_view content) : content_(content) {}

    std::string_view content_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::uint64_t objectCount_ = 0;
    std::uint64_t top_ = 0;
    std::uint64_t table_ = 0;
};

std::optional<BinaryList> BinaryList::open(std::string_view content) {
    if (content.size() < binaryPropertyListMagic.size() + trailerBytes) return std::nullopt;
    const auto trailer = content.size() - trailerBytes;
    BinaryList list(content);
    list.offsetSize_ = number(content, trailer + 6, 1);
    list.referenceSize_ = number(content, trailer + 7, 1);
    list.objectCount_ = number(content, trailer + 8, 8);
    list.top_ = number(content, trailer + 16, 8);
    list.table_ = number(content, trailer + 24, 8);
    const auto isSize = [](std::size_t size) { return size >= 1 && size <= 8; };
    if (!isSize(list.offsetSize_) || !isSize(list.referenceSize_) || list.table_ > trailer ||
        list.objectCount_ > (trailer - list.table_) / list.offsetSize_) {
        return std::nullopt;
    }
    return list;
}

std::optional<References> BinaryList::references(std::uint64_t object) const {
    if (object >= objectCount_) return std::nullopt;
    auto at = number(content_, table_ + object * offsetSize_, offsetSize_);
    const auto end = content_.size() - trailerBytes;
    if (at >= end) return std::nullopt;
    const auto marker = number(content_, at, 1);
    ++at;
    const auto kind = marker >> 4U;
    if (kind < 0xA || kind > 0xD) return References();

    auto count = marker & 0xFU;
    if (count == 0xF) {  // A long count follows as an integer object.
        const auto size = at < end ? number(content_, at, 1) : 0;
        const auto bytes = std::size_t{1} << (size & 0xFU);
        if (size >> 4U != 1 || bytes > 8 || bytes + 1 > end - at) return std::nullopt;
        count = number(content_, at + 1, bytes);
        at += 1 + bytes;
    }
    const std::uint64_t perEntry = kind == 0xD ? 2 : 1;  // A dictionary has keys and values.
    if (count > (end - at) / referenceSize_ / perEntry) return std::nullopt;
    return References{at, count * perEntry};
}

/// Whether the list is neither too deep nor too large once every reference has been followed. An
/// object in `pending` is one reference, so an object that is referred to twice is looked at twice.
bool unfoldsToLittle(const BinaryList& list) {
    struct Pending {
        std::uint64_t object;
        std::size_t depth;
    };
    std::vector<Pending> pending = {{list.top(), 0}};
    std::size_t total = 0;
    while (!pending.empty()) {
        const auto [object, depth] = pending.back();
        pending.pop_back();
        const auto references = list.references(object);
        if (!references) return false;
        total += references->count;
        if (depth > maxDepth || total > maxReferences) return false;
        for (std::size_t i = 0; i < references->count; ++i) {
            pending.push_back({list.reference(*references, i), depth + 1});
        }
    }
    return true;
}

/// Counts opening tags of containers, wherever they stand: the nesting cannot be deeper than that.
bool hasFewContainers(std::string_view xml) {
    std::size_t count = 0;
    for (auto at = xml.find('<'); at != std::string_view::npos; at = xml.find('<', at + 1)) {
        const auto tag = xml.substr(at + 1, 5);
        if (tag.starts_with("array") || tag.starts_with("dict")) ++count;
    }
    return count <= maxXmlContainers;
}

}  // namespace

bool isHarmlessPropertyList(std::string_view content) {
    if (!content.starts_with("bplist")) {
        constexpr std::string_view space = " \t\r\n\xEF\xBB\xBF";
        const auto first = content.find_first_not_of(space);
        return first != content.npos && content[first] == '<' && hasFewContainers(content);
    }
    const auto list = BinaryList::open(content);
    return list && unfoldsToLittle(*list);
}

}  // namespace vestigo
