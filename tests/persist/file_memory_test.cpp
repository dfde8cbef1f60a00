#include "engine/walk.h"
#include "persist/file_memory_table.h"
#include "platform/posix/posix_files.h"
#include "tests/support/test.h"

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

    std::int64_t tick() const { return now / step * step; }
    void write(const std::string& name, std::string content) {
        auto& inode = files[name];
        if (!inode) inode = std::make_shared<Inode>(Inode{{}, 0, 0, ++latest});
        inode->content = std::move(content);
        inode->modified = inode->changed = tick();
    }
    /// Through a mapping, after a write.
    void writeOn(const std::string& name, std::string content) {
        if (now - files.at(name)->changed > 35 * second) return write(name, std::move(content));
        files.at(name)->content = std::move(content);
    }
    void rename(const std::string& from, const std::string& to) {
        const auto inode = files.at(from);
        files.erase(from);
        files[to] = inode;
        inode->changed = tick();
    }
    void setDates(const std::string& name, std::int64_t modified) {
        files.at(name)->modified = modified;
        files.at(name)->changed = tick();
    }
    void link(const std::string& from, const std::string& to) {
        files[to] = files.at(from);
        files[to]->changed = tick();
    }
    /// Another disk in the place of this one, at first with files like these and not the same in
    /// them.
    void mountOther(const std::string& content) {
        if (others.empty()) {
            for (const auto& [name, inode] : files) {
                others[name] = std::make_shared<Inode>(*inode);
                others[name]->content = content;
            }
        }
        std::swap(files, others);
        fileSystem = 3 - fileSystem;
    }

    std::map<std::string, std::shared_ptr<Inode>> files;
    std::map<std::string, std::shared_ptr<Inode>> others;
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

struct Found : WalkListener {
    void progress(std::int64_t, const std::string&) override {}
    void partial(HitList added, std::int64_t) override {
        for (auto& hit : added) hits.push_back(std::move(hit));
    }
    void final(HitList added, std::int64_t scanned) override { partial(std::move(added), scanned); }
    HitList hits;
};

struct FileMemoryTest : testing::Test {
    FileMemoryTable memory() {
        return {file, "memory", [this] { return disk.now; }};
    }
    HitList walked(FileMemory* memory, HitList previous = {}, const std::string& root = "/disk") {
        Found found;
        PreviousHits known;
        known.provide(std::move(previous));
        walk(disk, {{root}, &known, 2, false, memory}, CancelFlag(), found);
        if (memory) memory->finish();
        return found.hits;
    }
    /// The files that a scan with the memory opens; its hits are those of one without.
    int opened(FileMemory& memory, const HitList& previous = {}) {
        const auto expected = walked(nullptr, previous);
        disk.opened = 0;
        EXPECT_TRUE(sameHits(walked(&memory, previous), expected));
        return disk.opened;
    }
    int opened() {
        auto used = memory();
        return opened(used);
    }
    /// A hundred texts and a program, all of one size, written long ago.
    void fill() {
        for (int i = 0; i < 100; ++i) disk.write("f" + std::to_string(i), text);
        disk.write("program", intel);
        disk.now += 1000 * second;
    }

    FakeDisk disk;
    std::shared_ptr<HeldFile> file = std::make_shared<HeldFile>();
    const std::string intel = test::thinMachO(test::cpuX86_64);
    const std::string text = std::string(intel.size(), 'x');
};

/// Something that may happen to files.
class Change {
public:
    Change(FakeDisk& disk, std::mt19937& random) : disk_(disk), random_(random) {}

    void operator()() {
        const auto name = any();
        const bool known = disk_.files.contains(name);
        const auto modified = known ? disk_.files.at(name)->modified : 0;
        switch (random_() % 10) {
            case 0:
            case 1: disk_.write(name, content()); break;
            case 2:  // In place, with its old dates.
                if (known) disk_.write(name, content());
                if (known) disk_.setDates(name, modified);
                break;
            case 3:
                if (known) disk_.rename(name, any());
                break;
            case 4:  // Another file of these dates takes its place.
                disk_.write("new", content());
                disk_.setDates("new", modified);
                disk_.rename("new", name);
                break;
            case 5:
                if (known) disk_.link(name, any());
                break;
            case 6: disk_.files.erase(name); break;
            case 7:
                if (known) disk_.writeOn(name, content());
                break;
            case 8: disk_.mountOther(content()); break;
            default:
                if (known) disk_.setDates(name, disk_.now - static_cast<int>(random_() % 5));
        }
    }

private:
    std::string any() { return "f" + std::to_string(random_() % 24); }
    std::string content() {
        // All of one size.
        return random_() % 3 == 0 ? test::thinMachO(test::cpuX86_64)
                                  : std::string(test::thinMachO(test::cpuX86_64).size(), 'x');
    }
    FakeDisk& disk_;
    std::mt19937& random_;
};

TEST_F(FileMemoryTest, ChangesNoResultWhateverHappensToTheFiles) {
    std::mt19937 random(7);
    const auto upTo = [&random](std::int64_t most) {
        return static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(most)) + 1;
    };
    int openedInAll = 0;
    int candidates = 0;
    for (int world = 0; world < 84; ++world) {
        disk.files.clear();
        disk.others.clear();
        file->bytes.clear();
        disk.step = world % 3 == 0 ? 1 : (world % 3 == 1 ? 2 * second : second / 250);
        disk.listsAttributes = world % 2 == 0;
        disk.keepsChangeTimes = world % 7 != 0;
        Change change(disk, random);
        HitList previous;
        for (int scan = 0; scan < 40; ++scan) {
            for (auto changes = random() % 4; changes > 0; --changes) {
                disk.now += upTo(second / 2);
                change();
            }
            auto used = memory();
            openedInAll += opened(used, previous);
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
    EXPECT_EQ(opened(), 101);
    disk.write("f7", text);
    EXPECT_EQ(opened(), 2);
    EXPECT_EQ(file->replaced, 1);
    disk.now += 1000 * second;
    EXPECT_EQ(opened(), 2);
    disk.write("tiny", "1234567");
    disk.listsAttributes = true;
    EXPECT_EQ(opened(), 1);
    EXPECT_EQ(file->replaced, 2);
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
    EXPECT_EQ(opened(), 101);
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
    EXPECT_EQ(opened(), 101);
    auto ofOne = memory();
    auto ofOther = memory();
    disk.opened = 0;
    walked(&ofOne, {}, "/other");
    walked(&ofOther, {}, "/another");
    EXPECT_EQ(disk.opened, 202);
    for (const auto* const folder : {"/other", "/another", "/disk"}) {
        auto used = memory();
        walked(&used, {}, folder);
    }
    EXPECT_EQ(disk.opened, 205);
    // Not asked for again and again, it is forgotten.
    for (int i = 0; i < 6; ++i) {
        disk.write("fresh" + std::to_string(i), text);
        disk.now += 1000 * second;
        auto used = memory();
        walked(&used, {}, "/other");
    }
    EXPECT_EQ(opened(), 107);
    const auto size = file->bytes.size();
    for (int i = 0; i < 100; ++i) disk.files.erase("f" + std::to_string(i));
    for (int i = 0; i < 6; ++i) opened();
    EXPECT_LT(file->bytes.size(), size / 2);
}

// Each with the file opened for itself, as two programs do.
TEST_F(FileMemoryTest, IsWholeWhileTwoProgramsReadAndReplaceIt) {
    fill();
    const test::TemporaryTree tree;
    const auto expected = walked(nullptr);
    const auto memoryInFile = [&] {
        return FileMemoryTable(std::make_shared<PosixFiles>(), tree.at("memory"),
                               [this] { return disk.now; });
    };
    auto first = memoryInFile();
    walked(&first);
    std::atomic<int> found = 0;
    const auto scanInTurn = [&](const std::string& folder) {
        for (int round = 0; round < 100; ++round) {
            auto used = memoryInFile();
            // Another folder each time, so that each scan has something to write.
            const auto hits = walked(&used, {}, folder + std::to_string(round));
            found += static_cast<int>(hits.size() == expected.size() && used.isInFile());
        }
    };
    std::atomic<bool> ended = false;
    std::atomic<int> unusable = 0;
    std::thread reader([&] {
        while (!ended) unusable += memoryInFile().isInFile() ? 0 : 1;
    });
    std::thread other([&] { scanInTurn("/other"); });
    scanInTurn("/one");
    other.join();
    ended = true;
    reader.join();
    EXPECT_EQ(found, 200);
    EXPECT_EQ(unusable, 0);
    auto last = memoryInFile();
    disk.opened = 0;
    walked(&last, {}, "/one99");
    walked(&last, {}, "/other99");
    EXPECT_LE(disk.opened, 102);
}

TEST(FingerprintTable, IsNoneByOtherRulesOrWithoutFreeSlots) {
    FingerprintTable table({.rules = 1}, 1);
    table.insert(std::uint64_t{1} << 40U, 0);
    EXPECT_TRUE(FingerprintTable::fromBytes(table.bytes(), 1));
    EXPECT_FALSE(FingerprintTable::fromBytes(table.bytes(), 2));
    while (table.size() < table.slotCount()) table.insert((table.size() + 2) << 40U, 0);
    EXPECT_FALSE(FingerprintTable::fromBytes(table.bytes(), 1));
}

TEST(FileMemoryProblem, IsAFileThatIsForeignOrThatOthersMayWrite) {
    const test::TemporaryTree tree;
    PosixFiles files;
    const auto path = tree.at("file");
    const auto problemOf = [&](const std::string& content, mode_t mode) {
        EXPECT_EQ(chmod(tree.file("file", content).c_str(), mode), 0);
        return fileMemoryProblem(files, path).value_or("");
    };
    auto table = FingerprintTable({}, 1).bytes();
    EXPECT_EQ(fileMemoryProblem(files, path), std::nullopt);
    EXPECT_EQ(problemOf("", 0600), "");
    EXPECT_EQ(problemOf(table, 0644), "");
    EXPECT_EQ(problemOf(table, 0620), "cannot use " + path + ": others may write it");
    table[0] = '?';
    EXPECT_EQ(problemOf(table, 0600), "");
    EXPECT_EQ(problemOf(std::string(200, 'v'), 0600),
              path + " is no cache of this program, and is left alone");
    if (chown(path.c_str(), 4711, 4711) == 0) {
        EXPECT_EQ(fileMemoryProblem(files, path),
                  "cannot use " + path + ": it belongs to another user");
    }
    EXPECT_EQ(fileMemoryProblem(files, tree.path()),
              "cannot use " + tree.path() + ": it is no regular file");
}

}  // namespace
}  // namespace vestigo
