// Batches as the kernel packs them, made here byte by byte, since no Mac is needed to read them.
#include <cstring>

#include "platform/macos/macos_folder_batch.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

using Bytes = std::vector<std::byte>;

template <class Value>
void append(Bytes& bytes, const Value& value) {
    const auto at = bytes.size();
    bytes.resize(at + sizeof value);
    std::memcpy(bytes.data() + at, &value, sizeof value);
}

struct Entry {
    std::string name;
    std::optional<std::uint32_t> error = {};
    std::optional<std::uint32_t> type = {};
    std::optional<BatchTime> created = {};
    std::optional<BatchTime> modified = {};
    std::optional<std::uint32_t> flags = {};
    std::optional<std::int64_t> length = {};
};

/// The error comes first, then where the name lies, then the others in the order of their bits.
void addEntry(Bytes& all, const Entry& entry) {
    std::uint32_t common = BatchRequest::returned | BatchRequest::name;
    const auto add = [&common](Bytes& bytes, std::uint32_t bit, const auto& value) {
        if (!value) return;
        common |= bit;
        append(bytes, *value);
    };
    Bytes error;
    Bytes others;
    add(error, BatchRequest::error, entry.error);
    add(others, BatchRequest::objectType, entry.type);
    add(others, BatchRequest::created, entry.created);
    add(others, BatchRequest::modified, entry.modified);
    add(others, BatchRequest::flags, entry.flags);
    if (entry.length) append(others, *entry.length);

    const auto room = (entry.name.size() + 1 + 3) / 4 * 4;
    append(all, static_cast<std::uint32_t>(32 + error.size() + others.size() + room));
    append(all, common);
    for (const std::uint32_t group : {0U, 0U, entry.length ? BatchRequest::dataLength : 0U, 0U}) {
        append(all, group);
    }
    all.insert(all.end(), error.begin(), error.end());
    append(all, static_cast<std::int32_t>(8 + others.size()));
    append(all, static_cast<std::uint32_t>(entry.name.size() + 1));
    all.insert(all.end(), others.begin(), others.end());
    for (const char letter : entry.name) append(all, letter);
    all.resize(all.size() + room - entry.name.size());
}

constexpr BatchTime madeIn2019{1570406400, 250000000};
constexpr BatchTime changedIn2020{1600000000, 1};

Bytes sampleBatch() {
    const Entry entries[] = {{.name = "tool",
                              .error = 0,
                              .type = 1,
                              .created = madeIn2019,
                              .modified = changedIn2020,
                              .flags = 0,
                              .length = std::int64_t{1} << 33},
                             {.name = "Gone", .error = 5},
                             {.name = "Secret", .type = 2, .flags = 0x8000},
                             {.name = "link", .type = 5, .flags = 0},
                             {.name = "cloud", .type = 1, .flags = 0x40000000},
                             {.name = "unsaid", .flags = 0}};
    Bytes all;
    for (const auto& entry : entries) addEntry(all, entry);
    return all;
}

/// From a copy that ends exactly where the bytes do, so that a sanitizer sees every step beyond.
std::vector<std::string> namesIn(const Bytes& bytes, std::size_t count) {
    const auto exact = std::make_unique<std::byte[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), exact.get());
    std::vector<std::string> names;
    (void)visitBatch({exact.get(), bytes.size()}, count, [&names](const BatchEntry& entry) {
        names.emplace_back(entry.name.data());
        return true;
    });
    return names;
}

TEST(FolderBatch, GivesWhatTheSystemReturnedForEachEntry) {
    const auto bytes = sampleBatch();
    std::vector<BatchEntry> entries;
    EXPECT_EQ(BatchEnd::reached, visitBatch(bytes, 6, [&entries](const BatchEntry& entry) {
                  entries.push_back(entry);
                  return true;
              }));
    ASSERT_EQ(entries.size(), 6U);
    const auto& tool = entries[0];
    EXPECT_EQ(tool.name, "tool");
    EXPECT_EQ(kindOf(tool), EntryKind::file);
    EXPECT_FALSE(isHidden(tool));
    const auto attributes = attributesOf(tool);
    EXPECT_EQ(attributes.size, std::int64_t{1} << 33);
    EXPECT_EQ(attributes.ctime, 592099200.25);
    EXPECT_EQ(attributes.mtime, 621692800.0 + 1e-9);
    EXPECT_EQ(kindOf(entries[1]), EntryKind::unknown);
    EXPECT_EQ(kindOf(entries[2]), EntryKind::folder);
    EXPECT_TRUE(isHidden(entries[2]));
    EXPECT_EQ(kindOf(entries[3]), EntryKind::link);
    EXPECT_FALSE(isHidden(entries[3]));
    EXPECT_EQ(attributesOf(entries[3]).ctime, 0);
    EXPECT_EQ(kindOf(entries[4]), EntryKind::unknown) << "opening it would fetch it";
    EXPECT_EQ(kindOf(entries[5]), std::nullopt);
}

TEST(FolderBatch, NeverReadsBeyondTheBytes) {
    const auto bytes = sampleBatch();
    const auto whole = namesIn(bytes, 6);
    EXPECT_EQ(namesIn(bytes, 100), whole);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        const auto cut = namesIn({bytes.begin(), bytes.begin() + static_cast<long>(length)}, 6);
        ASSERT_LT(cut.size(), whole.size());
        EXPECT_TRUE(std::equal(cut.begin(), cut.end(), whole.begin()));
    }
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        for (const unsigned value : {0U, 1U, 0x2FU, 0x7FU, 0x80U, 0xFFU}) {
            auto changed = bytes;
            changed[at] = std::byte(value);
            for (const auto& name : namesIn(changed, 6)) {
                EXPECT_FALSE(name.empty());
                EXPECT_EQ(name.find('/'), std::string::npos);
            }
        }
    }
}

}  // namespace
}  // namespace vestigo
