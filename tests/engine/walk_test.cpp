#include "engine/walk.h"

#include <algorithm>
#include <filesystem>
#include <random>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "engine/reader_governor.h"
#include "engine/scan_rules.h"
#include "platform/linux/linux_directory_reader.h"
#include "tests/support/mach_o_maker.h"
#include "tests/support/scan_fakes.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;
using test::RecordingListener;
using Paths = std::vector<std::string>;

class WalkTest : public testing::Test {
protected:
    RecordingListener walked(Paths roots, HitList previous = {}, unsigned threads = 0) {
        RecordingListener listener;
        walk(reader, {std::move(roots), std::move(previous), threads}, CancelFlag(), listener);
        return listener;
    }
    RecordingListener walkedTree(HitList previous = {}) {
        return walked({tree.path()}, std::move(previous));
    }
    /// Relative to the tree, in order.
    [[nodiscard]] Paths found() {
        auto paths = walkedTree().paths();
        for (auto& path : paths) path.erase(0, tree.path().size() + 1);
        std::ranges::sort(paths);
        return paths;
    }

    LinuxDirectoryReader reader;
    test::TemporaryTree tree;
    const std::string intel = test::thinMachO(test::cpuX86_64);
};

TEST_F(WalkTest, FindsMachOFilesWithTheirAttributes) {
    const auto path = tree.file("A.app/Contents/MacOS/A", intel + std::string(68, 'x'));
    tree.file("A.app/Contents/Info.plist", "<plist/>");
    const timespec times[] = {{0, 0}, {978307200 + 1000, 500000000}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    const auto result = walkedTree();
    EXPECT_EQ(result.count, 2);
    ASSERT_EQ(result.hits.size(), 1U);
    EXPECT_EQ(result.hits[0]->path, path);
    EXPECT_EQ(result.hits[0]->archs, Paths{"x86_64"});
    EXPECT_EQ(result.hits[0]->size, 100);
    EXPECT_EQ(result.hits[0]->mtime, 1000.5);
}

TEST_F(WalkTest, PassesOverWhatIsExcludedHiddenLinkedOrNoFile) {
    for (const auto* const name :
         {"Caches/a", "x/node_modules/a", "DerivedData/a", ".hidden", ".Trash/a", ".git/a",
          "Store.SQLITE-WAL", "x/y.db", "y/Homebrew"}) {
        tree.file(name, intel);
    }
    tree.file("Store.sqlite.bak", intel);
    tree.file("caches/a", intel);
    tree.file("Developer/a", intel);
    fs::create_symlink(tree.at("caches/a"), tree.at("link"));
    fs::create_directory_symlink(tree.path(), tree.at("loop"));
    ASSERT_EQ(mkfifo(tree.at("fifo").c_str(), 0600), 0);
    EXPECT_EQ(found(), (Paths{"Developer/a", "Store.sqlite.bak", "caches/a"}));
}

TEST_F(WalkTest, KeepsEveryByteOfANameAndGoesDeeperThanOnePathCanName) {
    const Paths names = {"Caf\xC3\xA9", "line\nbreak", std::string(255, 'n'), "\xFF\xFE"};
    for (const auto& name : names) tree.file(name, intel);
    EXPECT_EQ(found(), names);

    const std::string step(250, 'd');
    const auto start = fs::current_path();
    auto deepest = tree.folder("deep");
    fs::current_path(deepest);
    for (int depth = 0; depth < 40; ++depth) {
        fs::create_directory(step);
        fs::current_path(step);
        deepest += "/" + step;
    }
    fs::copy_file(tree.at(names[0]), "bottom");
    fs::current_path(start);
    EXPECT_EQ(walked({tree.at("deep")}).paths(), Paths{deepest + "/bottom"});
    // The standard library cannot remove what it cannot name.
    EXPECT_EQ(system(("rm -rf '" + tree.at("deep") + "'").c_str()), 0);
}

TEST_F(WalkTest, TakesRootsAsTheyAreGiven) {
    const auto file = tree.file("real/tool", intel);
    fs::create_directory_symlink(tree.at("real"), tree.at("link"));
    EXPECT_EQ(walked({tree.at("link")}).paths(), Paths{tree.at("link/tool")});
    EXPECT_EQ(walked({tree.at("real"), tree.at("real")}).paths(), (Paths{file, file}));
    EXPECT_TRUE(walked({file, tree.at("missing"), "/proc/self", "/sys"}).hits.empty());
    EXPECT_EQ(walked({}).reports, Paths{"final 0 0"});
    EXPECT_EQ(walked({tree.at("missing")}).reports, Paths{"final 0 0"});
}

void growRandomly(const test::TemporaryTree& tree, const std::string& folder, std::mt19937& random,
                  int depth) {
    tree.folder(folder);
    const auto files = random() % (random() % 8 == 0 ? 400 : 12);
    for (unsigned i = 0; i < files; ++i) {
        tree.file(folder + "/f" + std::to_string(i) + (random() % 9 == 0 ? ".db" : ""),
                  random() % 2 == 0 ? test::thinMachO(test::cpuX86_64) : "text");
    }
    const auto folders = depth == 0 ? 0 : random() % 6;
    for (unsigned i = 0; i < folders; ++i) {
        growRandomly(tree, folder + "/d" + std::to_string(i), random, depth - 1);
    }
}

TEST_F(WalkTest, ReportsWhatOneThreadInOrderWould) {
    std::mt19937 random(42);
    for (int round = 0; round < 8; ++round) {
        const auto name = "round" + std::to_string(round);
        growRandomly(tree, name, random, 4);
        const Paths roots = {tree.at(name), tree.at("round0")};
        const auto expected = test::simpleWalk(reader, roots);
        for (const unsigned threads : {1U, 2U, 16U}) {
            const auto result = walked(roots, {}, threads);
            ASSERT_EQ(result.reports, expected.reports);
            ASSERT_TRUE(sameHits(result.hits, expected.hits));
        }
        ASSERT_TRUE(sameHits(walked(roots, expected.hits).hits, expected.hits));
    }
}

TEST_F(WalkTest, DoesNotReadUnchangedFilesAgain) {
    const auto path = tree.file("tool", intel);
    const auto first = walkedTree().hits.at(0);
    const auto answerFor = [&](auto change) {
        auto previous = std::make_shared<BinaryHit>(*first);
        previous->archs = {"ppc"};
        change(*previous);
        return walkedTree({previous}).hits.at(0);
    };
    EXPECT_EQ(answerFor([](BinaryHit&) {})->archs, Paths{"ppc"});
    EXPECT_EQ(answerFor([](BinaryHit& hit) { hit.ctime = 5; })->ctime, first->ctime);
    EXPECT_EQ(answerFor([](BinaryHit& hit) { ++hit.size; })->archs, Paths{"x86_64"});
    EXPECT_EQ(answerFor([](BinaryHit& hit) { hit.mtime += 1e-6; })->archs, Paths{"x86_64"});
    EXPECT_EQ(answerFor([](BinaryHit& hit) { hit.archs = {"cpu(9)"}; })->archs, Paths{"x86_64"});
    fs::remove(path);
    EXPECT_TRUE(walkedTree({first}).hits.empty());
}

/// A file system whose listing brings the attributes along, but no creation times.
class ListingReader : public DirectoryReader {
    struct ListingFolder : Folder {
        void list(const std::function<bool(const FolderEntry&)>& visitor) override {
            visitor({"tool", EntryKind::file, false, FileAttributes{32, 7, 0}});
        }
        std::optional<FileAttributes> attributes(const char*) override { return std::nullopt; }
        std::unique_ptr<HeaderFile> openFile(const char*) override { return nullptr; }
    };

public:
    std::unique_ptr<Folder> open(const std::string&, LinkRule) override {
        return std::make_unique<ListingFolder>();
    }
    unsigned maxOpenFolders() const override { return 2; }
};

TEST_F(WalkTest, KeepsAKnownCreationTimeThatIsNoLongerGiven) {
    ListingReader listing;
    const auto previous = std::make_shared<BinaryHit>(BinaryHit{"/r/tool", {"i386"}, 32, 7, 1234});
    RecordingListener listener;
    walk(listing, {{"/r"}, {previous}}, CancelFlag(), listener);
    ASSERT_EQ(listener.hits.size(), 1U);
    EXPECT_EQ(listener.hits[0]->ctime, 1234);
}

/// Cancels the walk at the first progress.
class CancellingListener : public RecordingListener {
public:
    void progress(std::int64_t scanned, const std::string& path) override {
        flag.cancel();
        RecordingListener::progress(scanned, path);
    }
    CancelFlag flag;
};

TEST_F(WalkTest, HandsOverWhatWasFoundWhenCancelled) {
    for (int i = 0; i < 3000; ++i) {
        tree.file("d" + std::to_string(i / 10) + "/f" + std::to_string(i), intel);
    }
    CancellingListener listener;
    walk(reader, {{tree.path(), tree.path()}, {}}, listener.flag, listener);
    EXPECT_GE(listener.hits.size(), 1000U);
    EXPECT_LT(listener.hits.size(), 6000U);
    EXPECT_EQ(listener.count, static_cast<std::int64_t>(listener.hits.size()));
    EXPECT_TRUE(listener.reports.back().starts_with("final "));

    RecordingListener before;
    walk(reader, {{tree.path()}, {}}, listener.flag, before);
    EXPECT_EQ(before.reports, Paths{"final 0 0"});
}

TEST_F(WalkTest, LosesNothingWithFewFileDescriptorsLeft) {
    std::string folder = "a";
    for (int depth = 0; depth < 60; ++depth) {
        for (int i = 0; i < 6; ++i) {
            tree.file(folder + "/" + std::to_string(i) + "/file", intel);
        }
        folder += "/" + std::to_string(depth % 6);
    }
    struct rlimit usual {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &usual), 0);
    const int next = dup(0);
    close(next);
    for (const rlim_t left : {5, 24}) {
        auto few = usual;
        few.rlim_cur = static_cast<rlim_t>(next) + left;
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
        const auto result = walkedTree();
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &usual), 0);
        EXPECT_EQ(result.hits.size(), 360U);
    }
}

TEST(ReaderGovernor, AddsReadersWhileProcessorsIdleAndTakesThemBack) {
    const unsigned processors = std::max(1U, std::thread::hardware_concurrency());
    ReaderGovernor governor(16 * processors);
    EXPECT_EQ(governor.limit(), processors);
    for (int i = 0; i < 10; ++i) governor.sample(1, 0.1);
    EXPECT_EQ(governor.limit(), 16 * processors);
    for (int i = 0; i < 10; ++i) governor.sample(1, processors);
    EXPECT_EQ(governor.limit(), processors);
    ReaderGovernor single(1);
    single.sample(1, processors);
    EXPECT_EQ(single.limit(), 1U);
}

TEST(ScanRoots, FollowTheChoice) {
    EXPECT_EQ(scanRoots("~/x", Scope::deep, "/home/me"), Paths{"~/x"});
    EXPECT_EQ(scanRoots(std::nullopt, Scope::deep, "/home/me"), Paths{"/"});
    EXPECT_EQ(scanRoots(std::nullopt, Scope::smart, "/home/me")[3], "/home/me/Library");
    EXPECT_EQ(scanRoots(std::nullopt, Scope::smart, "/")[1], "/Applications");
}

TEST(FolderExclusions, ConcernAbsolutePlacesAsWholeComponents) {
    const auto excluded = [](const char* prefix, const char* name) {
        const FolderExclusions exclusions(prefix);
        return exclusions.everything() || exclusions.excludes(name);
    };
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"/", "Volumes", true},
        {"/", "devices", false},
        {"/Volumes/Disk/a/", "b", true},
        {"/System/", "Volumes", true},
        {"/System/", "Library", false},
        {"/Library/", "Developer", true},
        {"/Users/me/Library/", "Developer", false},
        {"/private/var/vm/", "sleepimage", true}};
    for (const auto& [prefix, name, expected] : cases) {
        EXPECT_EQ(excluded(prefix, name), expected) << prefix << name;
    }
}

}  // namespace
}  // namespace vestigo
