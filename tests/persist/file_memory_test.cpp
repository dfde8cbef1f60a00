#include <array>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "engine/walk.h"
#include "persist/file_memory_table.h"
#include "platform/system.h"
#include "tests/support/mach_o_maker.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

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

    std::map<std::string, std::shared_ptr<Inode>> files;
    std::int64_t now = 1'000'000 * second;
    std::int64_t step = 1;
    std::atomic<int> opened = 0;
    std::uint64_t latest = 0;

private:
    static FileAttributes attributesOf(const Inode& inode) {
        return {.size = static_cast<std::int64_t>(inode.content.size()),
                .mtime = static_cast<double>(inode.modified) * 1e-9,
                .ctime = 1,
                .modified = inode.modified,
                .changed = inode.changed,
                .inode = inode.number};
    }
    struct FakeFile : HeaderFile {
        explicit FakeFile(std::shared_ptr<Inode> opened) : inode(std::move(opened)) {}
        std::optional<std::size_t> readStart(std::span<std::byte> buffer) override {
            std::memcpy(buffer.data(), inode->content.data(), inode->content.size());
            return inode->content.size();
        }
        std::optional<FileAttributes> attributes() override { return attributesOf(*inode); }
        std::shared_ptr<Inode> inode;
    };
    struct FakeFolder : Folder {
        explicit FakeFolder(FakeDisk& owner) : disk(owner) {}
        bool list(const std::function<bool(const FolderEntry&)>& visitor) override {
            for (const auto& [name, inode] : disk.files) {
                visitor({.name = name, .kind = EntryKind::file, .hidden = false, .attributes = {}});
            }
            return true;
        }
        std::optional<FileAttributes> attributes(const char* name) override {
            return attributesOf(*disk.files.at(name));
        }
        std::unique_ptr<HeaderFile> openFile(const char* name) override {
            ++disk.opened;
            return std::make_unique<FakeFile>(disk.files.at(name));
        }
        std::unique_ptr<Folder> openFolder(std::string_view) override { return nullptr; }
        FakeDisk& disk;
    };
};

/// Lives by the clock of the disk.
struct DiskMemory : FileMemoryTable {
    explicit DiskMemory(const FakeDisk& owner) : disk(owner) {}
    std::int64_t now() const override { return disk.now; }
    const FakeDisk& disk;
};

struct Found : WalkListener {
    void progress(std::int64_t, const std::string&) override {}
    void partial(HitList added, std::int64_t) override {
        for (auto& hit : added) hits.push_back(std::move(hit));
    }
    void final(HitList added, std::int64_t scanned) override { partial(std::move(added), scanned); }
    HitList hits;
};

HitList walked(DirectoryReader& reader, const std::string& root, FileMemory* memory) {
    Found found;
    walk(reader, {.roots = {root}, .threads = 2, .memory = memory}, CancelFlag(), found);
    if (memory) memory->finish();
    return found.hits;
}

class Change {
public:
    Change(FakeDisk& disk, std::mt19937& random) : disk_(disk), random_(random) {}

    void operator()() {
        const auto name = any();
        const bool known = disk_.files.contains(name);
        const auto modified = known ? disk_.files.at(name)->modified : 0;
        switch (random_() % 8) {
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

TEST(FileMemory, ChangesNoResultWhateverHappensToTheFiles) {
    std::mt19937 random(7);
    int opened = 0;
    int candidates = 0;
    for (int world = 0; world < 120; ++world) {
        FakeDisk disk;
        // A clock is only set back where no two changes then get the same time.
        const bool setsBack = world % 3 == 0;
        disk.step = setsBack ? 1 : (world % 3 == 1 ? 2 * second : second / 250);
        DiskMemory memory(disk);
        Change change(disk, random);
        for (int scan = 0; scan < 40; ++scan) {
            for (auto changes = random() % 4; changes > 0; --changes) {
                disk.now += static_cast<std::int64_t>(random() % (second / 2)) + 1;
                change();
            }
            const auto expected = walked(disk, "/disk", nullptr);
            disk.opened = 0;
            ASSERT_TRUE(sameHits(walked(disk, "/disk", &memory), expected)) << world << " " << scan;
            opened += disk.opened;
            candidates += static_cast<int>(disk.files.size());
            disk.now += static_cast<std::int64_t>(random() % (4 * second)) + 1;
            if (setsBack && random() % 8 == 0) {
                disk.now -= static_cast<std::int64_t>(random() % (60 * second));
            }
        }
    }
    EXPECT_LT(opened, candidates * 3 / 4);
}

/// Counts the files that are opened.
class CountingReader : public DirectoryReader {
    struct CountingFolder : Folder {
        CountingFolder(std::unique_ptr<Folder> folder, std::atomic<int>& count)
            : real(std::move(folder)), opened(count) {}
        bool list(const std::function<bool(const FolderEntry&)>& visitor) override {
            return real->list(visitor);
        }
        std::optional<FileAttributes> attributes(const char* name) override {
            return real->attributes(name);
        }
        std::unique_ptr<HeaderFile> openFile(const char* name) override {
            return ++opened, real->openFile(name);
        }
        std::unique_ptr<Folder> openFolder(std::string_view path) override {
            return std::make_unique<CountingFolder>(real->openFolder(path), opened);
        }
        std::unique_ptr<Folder> real;
        std::atomic<int>& opened;
    };

public:
    std::unique_ptr<Folder> open(const std::string& path) override {
        return std::make_unique<CountingFolder>(real->open(path), opened);
    }
    unsigned maxOpenFolders() const override { return real->maxOpenFolders(); }
    std::shared_ptr<DirectoryReader> real = systemDirectoryReader();
    std::atomic<int> opened = 0;
};

class RealFileMemoryTest : public testing::Test {
protected:
    /// By whose clock all files are old, once a moment has passed.
    struct LaterMemory : FileMemoryTable {
        using FileMemoryTable::FileMemoryTable;
        std::int64_t now() const override { return FileMemoryTable::now() + 60 * second; }
    };

    void SetUp() override {
        for (int i = 0; i < 100; ++i) {
            tree.file("disk/d" + std::to_string(i % 7) + "/f" + std::to_string(i), text);
        }
        tree.file("disk/program", test::thinMachO(test::cpuX86_64));
        // Longer than the step of the clock that files get their times from.
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
    }
    /// The files that a scan opens with this memory; its hits are those of one without.
    int opened(FileMemory& memory) {
        CountingReader reader;
        const auto hits = walked(reader, tree.at("disk"), &memory);
        EXPECT_TRUE(sameHits(hits, walked(*reader.real, tree.at("disk"), nullptr)));
        return reader.opened;
    }
    int openedWithFile() {
        LaterMemory memory(systemFiles(), file);
        return opened(memory);
    }

    test::TemporaryTree tree;
    const std::string text = std::string(test::thinMachO(test::cpuX86_64).size(), 'x');
    const std::string file = tree.at("memory");
};

TEST_F(RealFileMemoryTest, OpensOnlyWhatHasChanged) {
    LaterMemory memory;
    EXPECT_EQ(opened(memory), 101);
    EXPECT_EQ(opened(memory), 1);
    // Each time another Mach-O file of the size and dates of the one before.
    const auto intel = test::thinMachO(test::cpuX86_64);
    struct stat old {};
    ASSERT_EQ(stat(tree.at("disk/d1/f1").c_str(), &old), 0);
    const timespec dates[] = {old.st_atim, old.st_mtim};
    tree.file("disk/d1/f1", intel);
    fs::rename(tree.file("disk/d2/fresh", intel), tree.at("disk/d2/f2"));
    for (const auto* const name : {"disk/d1/f1", "disk/d2/f2"}) {
        ASSERT_EQ(utimensat(AT_FDCWD, tree.at(name).c_str(), dates, 0), 0);
    }
    fs::rename(tree.at("disk/d3/f3"), tree.at("disk/d3/renamed"));
    EXPECT_EQ(opened(memory), 4);
    EXPECT_EQ(opened(memory), 3);
    FileMemoryTable cautious;
    EXPECT_EQ(opened(cautious), 101);
    EXPECT_EQ(opened(cautious), 101);
}

TEST_F(RealFileMemoryTest, LivesInAFileThatMayBeDamagedAtWill) {
    EXPECT_EQ(openedWithFile(), 101);
    EXPECT_EQ(openedWithFile(), 1);
    EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    const auto whole = *systemFiles()->read(file);
    EXPECT_LE(whole.size(), 12U * 100 + 140);
    for (std::size_t at = 0; at < whole.size() + 64; at += 64) {
        auto damaged = whole;
        if (at < whole.size()) damaged[at] = static_cast<char>(damaged[at] ^ 0x55);
        if (at >= whole.size()) damaged.resize(damaged.size() / 2);
        tree.file("memory", damaged);
        EXPECT_TRUE(mayHoldFileMemory(*systemFiles(), file));
        EXPECT_EQ(openedWithFile(), 101) << at;
        EXPECT_EQ(openedWithFile(), 1) << at;
    }
    tree.file("memory", "");
    EXPECT_TRUE(mayHoldFileMemory(*systemFiles(), file));
    tree.file("memory", std::string(200, 'v'));
    EXPECT_FALSE(mayHoldFileMemory(*systemFiles(), file));
    EXPECT_FALSE(mayHoldFileMemory(*systemFiles(), tree.path()));
    EXPECT_TRUE(mayHoldFileMemory(*systemFiles(), tree.at("missing")));
}

TEST_F(RealFileMemoryTest, ServesTwoScansAtATimeAndFoldersInTurn) {
    LaterMemory first(systemFiles(), file);
    EXPECT_EQ(opened(first), 101);
    LaterMemory ofOne(systemFiles(), file);
    LaterMemory ofOther(systemFiles(), file);
    tree.file("other/a", text);
    tree.file("another/b", text);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    CountingReader reader;
    walked(reader, tree.at("other"), &ofOne);
    walked(reader, tree.at("another"), &ofOther);
    EXPECT_EQ(reader.opened, 2);
    for (const auto* const folder : {"other", "another"}) {
        LaterMemory memory(systemFiles(), file);
        walked(reader, tree.at(folder), &memory);
    }
    EXPECT_EQ(reader.opened, 2);
    EXPECT_EQ(openedWithFile(), 1);
    // Not asked for again and again, it is forgotten.
    for (int i = 0; i < 6; ++i) {
        tree.file("other/" + std::to_string(i), text);
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        LaterMemory memory(systemFiles(), file);
        walked(reader, tree.at("other"), &memory);
    }
    EXPECT_EQ(openedWithFile(), 101);
}

}  // namespace
}  // namespace vestigo
