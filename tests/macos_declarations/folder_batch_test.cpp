// Batches as the kernel packs them, made here byte by byte, since no Mac is needed to read them.
#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/macos/macos_folder_batch.h"

namespace vestigo {
namespace {

using Bytes = std::vector<std::byte>;

template <class Value>
void append(Bytes& bytes, const Value& value) {
    const auto at = bytes.size();
    bytes.resize(at + sizeof value);
    std::memcpy(bytes.data() + at, &value, sizeof value);
}

/// One entry; its attributes have to be added in the order of their bits.
class Entry {
public:
    explicit Entry(std::string name) : name_(std::move(name)) {}

    Entry& error(std::uint32_t value) {
        Bytes first;
        append(first, value);
        common_ |= BatchRequest::error;
        beforeName_ = first;
        return *this;
    }
    Entry& type(std::uint32_t value) { return add(BatchRequest::objectType, value); }
    Entry& created(BatchTime value) { return add(BatchRequest::created, value); }
    Entry& modified(BatchTime value) { return add(BatchRequest::modified, value); }
    Entry& flags(std::uint32_t value) { return add(BatchRequest::flags, value); }
    Entry& length(std::int64_t value) {
        file_ = BatchRequest::dataLength;
        append(afterName_, value);
        return *this;
    }

    [[nodiscard]] Bytes bytes() const {
        Bytes rest = beforeName_;
        append(rest, static_cast<std::int32_t>(8 + afterName_.size()));
        append(rest, static_cast<std::uint32_t>(name_.size() + 1));
        rest.insert(rest.end(), afterName_.begin(), afterName_.end());
        for (const char letter : name_) append(rest, letter);
        rest.resize((rest.size() + 1 + 3) / 4 * 4);
        Bytes entry;
        append(entry, static_cast<std::uint32_t>(24 + rest.size()));
        append(entry, common_ | BatchRequest::returned | BatchRequest::name);
        for (const std::uint32_t group : {0U, 0U, file_, 0U}) append(entry, group);
        entry.insert(entry.end(), rest.begin(), rest.end());
        return entry;
    }

private:
    template <class Value>
    Entry& add(std::uint32_t bit, const Value& value) {
        common_ |= bit;
        append(afterName_, value);
        return *this;
    }

    std::string name_;
    std::uint32_t common_ = 0;
    std::uint32_t file_ = 0;
    Bytes beforeName_;
    Bytes afterName_;
};

constexpr BatchTime madeIn2019{1570406400, 250000000};
constexpr BatchTime changedIn2020{1600000000, 1};

Bytes batchOf(const std::vector<Entry>& entries) {
    Bytes all;
    for (const auto& entry : entries) {
        const auto bytes = entry.bytes();
        all.insert(all.end(), bytes.begin(), bytes.end());
    }
    return all;
}

Bytes sampleBatch() {
    return batchOf({Entry("tool")
                        .error(0)
                        .type(1)
                        .created(madeIn2019)
                        .modified(changedIn2020)
                        .flags(0)
                        .length(std::int64_t{1} << 33),
                    Entry("Gone").error(5), Entry("Secret").type(2).flags(0x8000),
                    Entry("link").type(5).flags(0x40000000)});
}

/// From a copy that ends exactly where the bytes do, so that a sanitizer sees every step beyond.
std::vector<std::string> namesIn(const Bytes& bytes, std::size_t count) {
    const auto exact = std::make_unique<std::byte[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), exact.get());
    std::vector<std::string> names;
    visitBatch({exact.get(), bytes.size()}, count, [&names](const BatchEntry& entry) {
        names.emplace_back(entry.name.data());
        return true;
    });
    return names;
}

TEST(FolderBatch, GivesWhatTheSystemReturnedForEachEntry) {
    const auto bytes = sampleBatch();
    std::vector<BatchEntry> entries;
    EXPECT_TRUE(visitBatch(bytes, 4, [&entries](const BatchEntry& entry) {
        entries.push_back(entry);
        return true;
    }));
    ASSERT_EQ(entries.size(), 4U);
    const auto& tool = entries[0];
    EXPECT_EQ(tool.name, "tool");
    EXPECT_EQ(kindOf(tool), EntryKind::file);
    EXPECT_FALSE(tool.failed);
    EXPECT_FALSE(isHidden(tool));
    const auto attributes = attributesOf(tool);
    EXPECT_EQ(attributes.size, std::int64_t{1} << 33);
    EXPECT_EQ(attributes.ctime, 592099200.25);
    EXPECT_EQ(attributes.mtime, 621692800.0 + 1e-9);
    EXPECT_TRUE(entries[1].failed);
    EXPECT_FALSE(kindOf(entries[1]));
    EXPECT_EQ(kindOf(entries[2]), EntryKind::folder);
    EXPECT_TRUE(isHidden(entries[2]));
    EXPECT_EQ(kindOf(entries[3]), EntryKind::link);
    EXPECT_TRUE(isElsewhere(entries[3]));
    EXPECT_FALSE(isElsewhere(tool) || isHidden(entries[3]));
    EXPECT_EQ(attributesOf(entries[3]).ctime, 0);
}

TEST(FolderBatch, StopsWhenAsked) {
    const auto bytes = sampleBatch();
    int visited = 0;
    EXPECT_FALSE(visitBatch(bytes, 4, [&visited](const BatchEntry&) { return ++visited < 2; }));
    EXPECT_EQ(visited, 2);
}

TEST(FolderBatch, NeverReadsBeyondTheBytes) {
    const auto bytes = sampleBatch();
    const auto whole = namesIn(bytes, 4);
    EXPECT_EQ(namesIn(bytes, 100), whole);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        const auto cut = namesIn({bytes.begin(), bytes.begin() + static_cast<long>(length)}, 4);
        ASSERT_LT(cut.size(), whole.size());
        EXPECT_TRUE(std::equal(cut.begin(), cut.end(), whole.begin()));
    }
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        for (const unsigned value : {0U, 1U, 0x2FU, 0x7FU, 0x80U, 0xFFU}) {
            auto changed = bytes;
            changed[at] = std::byte(value);
            for (const auto& name : namesIn(changed, 4)) {
                EXPECT_FALSE(name.empty());
                EXPECT_EQ(name.find('/'), std::string::npos);
            }
        }
    }
}

}  // namespace
}  // namespace vestigo
