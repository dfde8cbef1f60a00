#include "persist/file_memory_table.h"
#include "platform/posix/posix_files.h"
#include "tests/support/test.h"
#include "tests/support/walk_support.h"

namespace vestigo {
namespace {

constexpr std::int64_t second = 1'000'000'000;

/// A disk of one folder that keeps its times in steps, with a clock of its own.
class FakeDisk : public DirectoryReader {
public:
    struct Inode {
        std::string content;
        std::int64_t modified = 0;
        std::int64_t changed = 0;
        std::uint64_t number = 0;
    };

    std::unique_ptr<Folder> open(const std::string&) override {
        return std::make_unique<FakeFolder>(*this);
    }
    unsigned maxOpenFolders() const override { return 64; }

    void write(const std::string& name, std::string content) {
        auto& inode = files[name];
        if (!inode) inode = std::make_shared<Inode>(Inode{{}, 0, 0, ++latest});
        inode->content = std::move(content);
        setDates(name, now / step * step);
    }
    /// Gives the name to the file as well, or takes the name `from` from it.
    void link(const std::string& from, const std::string& to, bool keepsName = true) {
        const auto inode = files.at(from);
        if (!keepsName) files.erase(from);
        files[to] = inode;
        setDates(to, inode->modified);
    }
    void setDates(const std::string& name, std::int64_t modified) {
        files.at(name)->modified = modified;
        files.at(name)->changed = now / step * step;
    }
    std::map<std::string, std::shared_ptr<Inode>> files;
    std::uint64_t fileSystem = 1;
    std::int64_t now = 1'000'000 * second;
    std::int64_t step = 1;
    bool keepsChangeTimes = true;
    bool listsAttributes = false;
    bool fails = false;
    std::atomic<int> opened = 0;
    std::uint64_t latest = 0;

private:
    FileAttributes attributesOf(const Inode& inode) const {
        return {.size = static_cast<std::int64_t>(inode.content.size()),
                .mtime = static_cast<double>(inode.modified) * 1e-9,
                .ctime = 1,
                .modified = inode.modified,
                .changed = keepsChangeTimes ? inode.changed : 0,
                .inode = inode.number,
                .fileSystem = fileSystem};
    }
    struct FakeFile : HeaderFile {
        FakeFile(const FakeDisk& owner, std::shared_ptr<Inode> opened)
            : disk(owner), inode(std::move(opened)) {}
        std::optional<std::size_t> readStart(std::span<std::byte> buffer) override {
            if (disk.fails) return std::nullopt;
            return inode->content.copy(reinterpret_cast<char*>(buffer.data()), buffer.size());
        }
        std::optional<FileAttributes> attributes() override { return disk.attributesOf(*inode); }
        const FakeDisk& disk;
        std::shared_ptr<Inode> inode;
    };
    struct FakeFolder : Folder {
        explicit FakeFolder(FakeDisk& owner) : disk(owner) {}
        bool list(const std::function<bool(const FolderEntry&)>& visitor) override {
            for (const auto& [name, inode] : disk.files) {
                FolderEntry entry{.name = name, .kind = EntryKind::file, .attributes = {}};
                if (disk.listsAttributes) entry.attributes = disk.attributesOf(*inode);
                visitor(entry);
            }
            return true;
        }
        std::optional<FileAttributes> attributes(const char* name) override {
            return disk.attributesOf(*disk.files.at(name));
        }
        std::unique_ptr<HeaderFile> openFile(const char* name) override {
            ++disk.opened;
            return std::make_unique<FakeFile>(disk, disk.files.at(name));
        }
        std::unique_ptr<Folder> openFolder(std::string_view) override { return nullptr; }
        FakeDisk& disk;
    };
};

/// Keeps one file without a disk.
struct HeldFile : PosixFiles {
    FileContent readOwn(const std::string&, std::size_t) override {
        return {bytes, bytes.empty() ? "missing" : ""};
    }
    bool replace(const std::string&, std::string_view content, Access access) override {
        bytes = content;
        return ++replaced, access == Access::ownerOnly;
    }
    std::string bytes;
    int replaced = 0;
};

struct FileMemoryTest : testing::Test {
    FileMemoryTable memory() {
        return {file, "memory", [this] { return disk.now; }};
    }
    HitList walked(FileMemory* memory, const HitList& previous = {},
                   const std::string& root = "/disk") {
        auto found =
            test::walked(disk, {.roots = {root}, .threads = 2, .memory = memory}, previous);
        if (memory) memory->finish();
        return found.hits;
    }
    /// The files that a scan with the memory opens; its hits are those of one without.
    int opened(const HitList& previous = {}) {
        const auto expected = walked(nullptr, previous);
        auto used = memory();
        disk.opened = 0;
        EXPECT_TRUE(sameHits(walked(&used, previous), expected));
        return disk.opened;
    }
    int openedIn(const std::string& root) {
        auto used = memory();
        disk.opened = 0;
        walked(&used, {}, root);
        return disk.opened;
    }
    /// A hundred texts and a program, all of one size, written long ago and remembered.
    void fill() {
        for (int i = 0; i < 100; ++i) disk.write("f" + std::to_string(i), text);
        disk.write("program", intel);
        disk.now += 1000 * second;
        EXPECT_EQ(opened(), 101);
    }
    /// Does something that may happen to files; all are of one size.
    void change() {
        const auto any = [this] { return "f" + std::to_string(random() % 24); };
        const auto content = random() % 3 == 0 ? intel : text;
        const auto name = any();
        if (!disk.files.contains(name)) return disk.write(name, content);
        auto& inode = *disk.files.at(name);
        const auto modified = inode.modified;
        switch (random() % 8) {
            case 0: return disk.write(name, content);
            case 1:  // In place, with its old dates.
                disk.write(name, content);
                return disk.setDates(name, modified);
            case 2: return disk.link(name, any(), false);
            case 3:  // Another file of these dates takes its place.
                disk.write("new", content);
                disk.setDates("new", modified);
                return disk.link("new", name, false);
            case 4: return disk.link(name, any());
            case 5: disk.files.erase(name); return;
            case 6:  // Through a mapping, soon after a write.
                if (disk.now - inode.changed <= 35 * second) inode.content = content;
                return;
            default: return disk.setDates(name, disk.now - static_cast<int>(random() % 5));
        }
    }

    FakeDisk disk;
    std::mt19937 random{7};
    std::shared_ptr<HeldFile> file = std::make_shared<HeldFile>();
    const std::string intel = test::thinMachO(test::cpuX86_64);
    const std::string text = std::string(intel.size(), 'x');
};

TEST_F(FileMemoryTest, ChangesNoResultWhateverHappensToTheFiles) {
    const auto upTo = [this](std::int64_t most) {
        return static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(most)) + 1;
    };
    int openedInAll = 0;
    int candidates = 0;
    for (int world = 0; world < 84; ++world) {
        disk.files.clear();
        file->bytes.clear();
        disk.step = world % 3 == 0 ? 1 : (world % 3 == 1 ? 2 * second : second / 250);
        disk.listsAttributes = world % 2 == 0;
        disk.keepsChangeTimes = world % 7 != 0;
        HitList previous;
        for (int scan = 0; scan < 40; ++scan) {
            for (auto changes = random() % 4; changes > 0; --changes) {
                disk.now += upTo(second / 2);
                change();
            }
            openedInAll += opened(previous);
            ASSERT_FALSE(HasFailure()) << world << " " << scan;
            if (random() % 2 == 0) previous = walked(nullptr);
            candidates += static_cast<int>(disk.files.size());
            disk.now += upTo(60 * second);
            if (world % 4 == 0 && random() % 8 == 0) disk.now -= upTo(400 * second);
        }
    }
    EXPECT_LT(openedInAll, candidates * 3 / 4);
}

TEST_F(FileMemoryTest, OpensOnlyWhatHasChanged) {
    fill();
    disk.write("f7", text);
    EXPECT_EQ(opened(), 2);
    EXPECT_EQ(file->replaced, 1);
    disk.now += 1000 * second;
    EXPECT_EQ(opened(), 2);
    // Another disk in the place of this one.
    disk.fileSystem = 2;
    EXPECT_EQ(opened(), 101);
    EXPECT_EQ(opened(), 1);
    disk.write("tiny", "1234567");
    disk.listsAttributes = true;
    EXPECT_EQ(opened(), 1);
    EXPECT_EQ(file->replaced, 5);
    // A size that nobody vouches for says nothing; what cannot be read may be anything.
    disk.keepsChangeTimes = false;
    EXPECT_EQ(opened(), 102);
    disk.keepsChangeTimes = true;
    file->bytes.clear();
    disk.fails = true;
    EXPECT_EQ(opened(), 101);
    disk.fails = false;
    EXPECT_EQ(opened(), 101);
    disk.now -= 2000 * second;
    EXPECT_EQ(opened(), 101);
}

TEST_F(FileMemoryTest, LivesInAFileThatMayBeDamagedAtWill) {
    fill();
    const auto whole = file->bytes;
    EXPECT_LE(whole.size(), 12U * 100 + 140);
    for (std::size_t at = 0; at < whole.size() + 64; at += 64) {
        file->bytes = whole;
        if (at < whole.size()) file->bytes[at] = static_cast<char>(whole[at] ^ 0x55);
        if (at >= whole.size()) file->bytes.resize(whole.size() / 2);
        EXPECT_EQ(opened(), 101) << at;
        EXPECT_EQ(opened(), 1) << at;
    }
}

TEST_F(FileMemoryTest, ServesTwoScansAtATimeAndFoldersInTurn) {
    fill();
    auto ofOne = memory();
    auto ofOther = memory();
    walked(&ofOne, {}, "/other");
    walked(&ofOther, {}, "/another");
    for (const auto* const folder : {"/other", "/another", "/disk"}) {
        EXPECT_EQ(openedIn(folder), 1) << folder;
    }
    // Not asked for again and again, it is forgotten.
    for (int i = 0; i < 6; ++i) {
        disk.write("fresh" + std::to_string(i), text);
        disk.now += 1000 * second;
        openedIn("/other");
    }
    EXPECT_EQ(opened(), 107);
    const auto size = file->bytes.size();
    for (int i = 0; i < 100; ++i) disk.files.erase("f" + std::to_string(i));
    for (int i = 0; i < 6; ++i) opened();
    EXPECT_LT(file->bytes.size(), size / 2);
}

TEST(FingerprintTable, WrapsAroundAndIsNoneByOtherRulesOrWithoutFreeSlots) {
    FingerprintTable table({.rules = 1}, 2);
    const auto last = ~std::uint64_t{0};
    for (const auto each : {last, last - 8}) table.insert(each, 0);
    EXPECT_EQ(table.find(last), table.slotCount() - 1);
    EXPECT_EQ(table.find(last - 8), 0U);
    EXPECT_TRUE(FingerprintTable::fromBytes(table.bytes(), 1));
    EXPECT_FALSE(FingerprintTable::fromBytes(table.bytes(), 2));
    while (table.size() < table.slotCount()) table.insert((table.size() + 2) << 40U, 0);
    EXPECT_FALSE(FingerprintTable::fromBytes(table.bytes(), 1));
}

}  // namespace
}  // namespace vestigo
