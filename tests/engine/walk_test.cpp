#include "engine/walk.h"

#include <sys/resource.h>

#include "engine/scan_rules.h"
#include "engine/walk_queue.h"
#include "tests/support/test.h"
#include "tests/support/walk_support.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;

Paths pathsOf(const test::Found& found) {
    Paths result;
    for (const auto& hit : found.hits) result.push_back(hit->path);
    return result;
}

struct WalkTest : testing::Test {
    test::Found walked(const WalkRequest& request, const HitList& previous = {}) {
        return test::walked(reader, request, previous, cancelled);
    }
    test::Found walkedTree(const HitList& previous = {}) {
        return walked({{tree.path()}}, previous);
    }
    /// Relative to the tree, in order.
    [[nodiscard]] Paths found() {
        auto paths = pathsOf(walkedTree());
        for (auto& path : paths) path.erase(0, tree.path().size() + 1);
        std::ranges::sort(paths);
        return paths;
    }

    test::HookedReader reader;
    CancelFlag cancelled;
    test::TemporaryTree tree;
    const std::string intel = test::thinMachO(test::cpuX86_64);
};

TEST_F(WalkTest, PassesOverWhatIsExcludedHiddenLinkedOrNoFile) {
    for (const auto* const name :
         {"Caches/a", "x/node_modules/a", "DerivedData/a", ".hidden", ".Trash/a", ".git/a",
          "Store.SQLITE-WAL", "x/y.db", "y/Homebrew"}) {
        tree.file(name, intel);
    }
    for (const auto* name : {"Store.sqlite.bak", "caches/a", "Developer/a"}) tree.file(name, intel);
    fs::create_symlink(tree.at("caches/a"), tree.at("link"));
    fs::create_directory_symlink(tree.path(), tree.at("loop"));
    ASSERT_EQ(mkfifo(tree.at("fifo").c_str(), 0600), 0);
    EXPECT_EQ(found(), (Paths{"Developer/a", "Store.sqlite.bak", "caches/a"}));
}

TEST_F(WalkTest, KeepsEveryByteOfANameAndGoesDeeperThanOnePathCanName) {
    Paths names = {"Caf\xC3\xA9", "line\nbreak", std::string(255, 'n'), "\xFF\xFE"};
    if (!tree.takesAnyName()) names.pop_back();
    for (const auto& name : names) tree.file(name, intel);
    EXPECT_EQ(found(), names);

    const auto start = fs::current_path();
    auto deepest = tree.folder("deep");
    for (int depth = 0; depth < 40; ++depth) {
        fs::current_path(depth == 0 ? deepest : names[2]);
        fs::create_directory(names[2]);
        deepest += "/" + names[2];
    }
    fs::copy_file(tree.at(names[0]), names[2] + "/bottom");
    fs::current_path(start);
    EXPECT_EQ(pathsOf(walked({{tree.at("deep")}})), Paths{deepest + "/bottom"});
    // The standard library cannot remove what it cannot name.
    EXPECT_EQ(system(("rm -rf '" + tree.at("deep") + "'").c_str()), 0);
}

TEST_F(WalkTest, TakesRootsAsTheyAreGivenAndAFileWhereSomeoneNamedIt) {
    const auto file = tree.file("real/tool", intel);
    tree.file("a.db", intel);
    fs::create_directory_symlink(tree.at("real"), tree.at("link"));
    EXPECT_EQ(pathsOf(walked({{tree.at("link")}})), Paths{tree.at("link/tool")});
    EXPECT_EQ(pathsOf(walked({{tree.at("real"), tree.at("real")}})), (Paths{file, file}));
    EXPECT_EQ(walked({}).reports, Paths{"0 of 0"});
    for (const auto& nothing : {tree.at("missing"), file}) {
        EXPECT_EQ(walked({{nothing, "/dev/fd", "/sys"}}).unread, nothing);
    }
    const auto named = [this](const Paths& roots) {
        return walked({.roots = roots, .rootsAreNamed = true});
    };
    const auto both = named({file, tree.at("a.db")});
    EXPECT_EQ(both.unread, std::nullopt);
    EXPECT_EQ(pathsOf(both), Paths{file});
    ASSERT_EQ(mkfifo(tree.at("fifo").c_str(), 0600), 0);
    EXPECT_EQ(named({tree.at("fifo")}).unread, tree.at("fifo"));
}

TEST_F(WalkTest, StaysBelowItsRootWhenAFolderIsSwappedForALink) {
    tree.file("root/a/b/c/inside", intel);
    tree.file("outside/b/c/outside", intel);
    fs::create_directory_symlink(tree.at("outside"), tree.at("link"));
    reader.works = [this](std::string_view step, std::string_view path) {
        if (step == "list" && path.ends_with("/a/b")) {
            fs::rename(tree.at("root/a"), tree.at("moved"));
            fs::rename(tree.at("link"), tree.at("root/a"));
        }
        return true;
    };
    const auto result = walked({{tree.at("root")}});
    EXPECT_TRUE(result.hits.empty());
    EXPECT_EQ(result.unread, tree.at("root/a/b/c"));
    EXPECT_FALSE(fs::exists(tree.at("link")));
}

TEST_F(WalkTest, ReportsTheSameWithAnyNumberOfThreads) {
    // The deeper the folders, the more there are and the fewer files each has: from 480 to 2.
    std::mt19937 random(42);
    for (int i = 0; i < 2400; ++i) {
        std::string folder;
        for (auto depth = random() % 5; depth > 0; --depth) {
            folder += "d" + std::to_string(random() % 4) + "/";
        }
        tree.file(folder + "f" + std::to_string(i), i % 8 == 0 ? "text" : intel + folder);
    }
    const auto expected = walked({.roots = {tree.path()}, .threads = 1});
    EXPECT_EQ(expected.hits.size(), 2100U);
    EXPECT_TRUE(expected.reports.at(0).starts_with("1000 /"));
    EXPECT_TRUE(expected.reports.at(2).starts_with("2000 of "));
    EXPECT_EQ(expected.reports.back(), "2100 of 2400");
    for (const unsigned threads : {2U, 8U, 32U}) {
        const auto result = walked({.roots = {tree.path()}, .threads = threads});
        ASSERT_EQ(result.reports, expected.reports);
        ASSERT_TRUE(sameHits(result.hits, expected.hits));
    }
    for (const bool lists : {false, true}) {
        reader.listsAttributes = lists;
        EXPECT_TRUE(sameHits(walkedTree().hits, expected.hits));
        EXPECT_TRUE(sameHits(walkedTree(expected.hits).hits, expected.hits));
    }
}

TEST_F(WalkTest, TellsTheAttributesOfAFileAndDoesNotReadItAgainUnchanged) {
    const auto path = tree.file("tool", intel);
    const timespec times[] = {{0, 0}, {978307200 + 1000, 500000000}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    const auto first = walkedTree().hits.at(0);
    EXPECT_EQ(*first, (BinaryHit{path, {"x86_64"}, 32, 1000.5, first->ctime}));
    const auto answerFor = [&](auto change) {
        auto previous = std::make_shared<BinaryHit>(*first);
        previous->archs = {"ppc"};
        change(*previous);
        // Of two with one path the first counts.
        return walkedTree({previous, first}).hits.at(0);
    };
    EXPECT_EQ(answerFor([](BinaryHit&) {})->archs, Paths{"ppc"});
    EXPECT_EQ(answerFor([](BinaryHit& hit) { hit.ctime = 5; })->ctime, first->ctime);
    EXPECT_EQ(answerFor([](BinaryHit& hit) { ++hit.size; })->archs, Paths{"x86_64"});
    EXPECT_EQ(answerFor([](BinaryHit& hit) { hit.mtime += 1e-6; })->archs, Paths{"x86_64"});
    EXPECT_EQ(answerFor([](BinaryHit& hit) { hit.archs = {"cpu(9)"}; })->archs, Paths{"x86_64"});
    fs::remove(path);
    EXPECT_TRUE(walkedTree({first}).hits.empty());
}

TEST_F(WalkTest, TellsWhatItCouldNotLookAt) {
    const auto file = tree.file("a/bad", intel);
    tree.file("a/good", intel);
    tree.file("b/bad/tool", intel);
    tree.file("c/empty");
    fs::create_symlink("nowhere", tree.at("c/link"));
    ASSERT_EQ(mkfifo(tree.at("c/fifo").c_str(), 0600), 0);
    const auto all = walkedTree();
    EXPECT_EQ(all.unread, std::nullopt);
    EXPECT_EQ(all.hits.size(), 3U);
    std::string fault;
    reader.works = [&fault](std::string_view step, std::string_view name) {
        if (fault == "memory" && step == "read") throw std::bad_alloc();
        return step != fault || !("/" + std::string(name)).ends_with("/bad");
    };
    const auto check = [&](const char* step, const std::string& unread, std::size_t hits,
                           const HitList& previous = {}) {
        fault = step;
        const auto result = walkedTree(previous);
        EXPECT_EQ(result.unread, unread) << step;
        EXPECT_EQ(result.hits.size(), hits) << step;
    };
    for (const auto* const step : {"file", "read", "attributes"}) check(step, file, 2);
    check("attributes", file, 2, all.hits);
    check("folder", tree.at("b/bad"), 2);
    check("list", tree.at("b/bad"), 3);
    fault = "entry";
    EXPECT_TRUE(walkedTree().unread);
    fault = "memory";
    EXPECT_THROW(walkedTree(), std::bad_alloc);
}

TEST_F(WalkTest, StopsAtOnceWhenCancelledAndHandsOverWhatWasFound) {
    for (int i = 0; i < 60; ++i) tree.file(std::to_string(i / 20) + "/" + std::to_string(i), intel);
    int steps = 0;
    std::size_t most = 0;
    for (int last = 1; last < 300; last += 13) {
        steps = 0;
        cancelled = CancelFlag();
        reader.works = [&](std::string_view, std::string_view) {
            if (++steps == last) cancelled.cancel();
            return true;
        };
        const auto result = walked({.roots = {tree.path()}, .threads = 1});
        EXPECT_LE(steps, last + 6);
        const auto count = std::to_string(result.hits.size());
        EXPECT_EQ(result.reports, Paths{count + " of " + count});
        most = std::max(most, result.hits.size());
        EXPECT_EQ(walkedTree().reports, Paths{"0 of 0"});
    }
    EXPECT_GE(most, 40U);
}

TEST_F(WalkTest, LosesNothingWithFewFileDescriptorsLeft) {
    std::string folder = "a";
    for (int depth = 0; depth < 60; ++depth) {
        for (const auto* const file : {"/file", "/beside/file"}) tree.file(folder + file, intel);
        folder += "/deeper";
    }
    struct rlimit usual {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &usual), 0);
    const int next = dup(0);
    close(next);
    for (const rlim_t left : {5U, 24U}) {
        auto few = usual;
        few.rlim_cur = static_cast<rlim_t>(next) + left;
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
        const auto result = walkedTree();
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &usual), 0);
        EXPECT_EQ(result.hits.size(), 120U);
    }
}

/// Two threads in a deep tree, of which one has each folder listed only after the other has begun
/// on the many files of the folder behind it.
TEST(WalkQueue, KeepsFewFoldersOpenAndLosesNothingThatWasReadBeforeAStop) {
    if (std::thread::hardware_concurrency() < 2) GTEST_SKIP() << "one thread at a time";
    using Work = WalkQueue::Work;
    const auto token = std::make_shared<int>();  // Shared by all open folders.
    test::Found found;
    WalkQueue queue({"/"}, {.workers = 2, .openFolders = 4}, found);
    std::size_t examined = 0;
    const auto done = [&](const Work& work) {
        if (const auto* const files = std::get_if<WalkQueue::ReadWork>(&work)) {
            ++examined;
            return queue.examined(*files, {1, {{0, test::hitRef({"/hit", {}})}}});
        }
        const auto& folder = std::get<WalkQueue::ListWork>(work);
        FolderListing listing;
        if (folder.path.ends_with("files")) {
            listing.folder = std::shared_ptr<Folder>(token, nullptr);
            for (int i = 0; i < 200; ++i) listing.candidates.add("file");
        } else {
            for (const auto* const name : {"deeper", "files"}) listing.subFolders.add(name);
        }
        return queue.listed(folder, std::move(listing));
    };
    std::vector<Work> works{done(queue.claim().value()).value()};
    works.push_back(queue.claim().value());
    for (int i = 0; i < 200; ++i) {
        // In turn the files are listed, the folder before them, and some of the files read.
        auto& next = *std::ranges::min_element(works, {}, [i](const Work& work) {
            const auto* const folder = std::get_if<WalkQueue::ListWork>(&work);
            return ((folder ? (folder->path.ends_with("files") ? 0 : 1) : 2) + 3 - i % 3) % 3;
        });
        next = done(next).value();
        ASSERT_LE(token.use_count(), 1 + 4);
    }
    queue.stop();
    for (const auto& work : works) EXPECT_FALSE(done(work));
    queue.finish();
    EXPECT_EQ(found.hits.size(), examined);
}

TEST(ScanRoots, AreTheChosenFolderTheWholeDiskOrTheSmartFolders) {
    EXPECT_EQ(scanRoots("~/x", Scope::deep, "/home/me"), Paths{"~/x"});
    EXPECT_EQ(scanRoots(std::nullopt, Scope::deep, "/home/me"), Paths{"/"});
    EXPECT_EQ(scanRoots(std::nullopt, Scope::smart, "/home/me")[3], "/home/me/Library");
}

TEST(FolderExclusions, ConcernAbsolutePlacesAsWholeComponents) {
    const auto excluded = [](std::string_view path, const Paths& named) {
        const auto prefix = path.substr(0, path.rfind('/') + 1);
        const FolderExclusions exclusions(prefix, named);
        return exclusions.everything() || exclusions.excludes(path.substr(prefix.size()));
    };
    const Paths named = {"/Volumes", "/Library/Developer/a"};
    for (const auto* const path :
         {"/Volumes", "/dev/a", "/Library/Developer", "/Library/Developer/c/d"}) {
        EXPECT_TRUE(excluded(path, {}) && excluded(path, named)) << path;
    }
    for (const auto* const path : {"/Volumes/a", "/Volumes/a/b", "/Library/Developer/a/b/c"}) {
        EXPECT_TRUE(excluded(path, {}) && !excluded(path, named)) << path;
    }
    for (const auto* const path :
         {"/devices", "/devices/a", "/System/Library", "/a/Library/Developer"}) {
        EXPECT_FALSE(excluded(path, {}) || excluded(path, named)) << path;
    }
}

}  // namespace
}  // namespace vestigo
