#include "engine/walk.h"

#include <sys/resource.h>

#include "engine/scan_rules.h"
#include "tests/support/service_fakes.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;

/// Keeps everything that a walk reports, as lines where the order matters.
struct RecordingListener : WalkListener {
    void progress(std::int64_t scanned, const std::string& path) override {
        reports.push_back(std::to_string(scanned) + " " + path);
    }
    void partial(HitList added, std::int64_t scanned) override {
        hits.insert(hits.end(), added.begin(), added.end());
        count = scanned;
        reports.push_back(std::to_string(hits.size()) + " of " + std::to_string(scanned));
    }
    void final(HitList added, std::int64_t scanned) override { partial(std::move(added), scanned); }

    [[nodiscard]] Paths paths() const {
        Paths result;
        for (const auto& hit : hits) result.push_back(hit->path);
        return result;
    }

    HitList hits;
    std::int64_t count = 0;
    Paths reports;
};

class WalkTest : public testing::Test {
protected:
    RecordingListener walked(Paths roots, HitList previous = {}, unsigned threads = 0) {
        RecordingListener listener;
        PreviousHits known;
        known.provide(std::move(previous));
        walk(reader, {std::move(roots), &known, threads}, CancelFlag(), listener);
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

    test::RealReader reader;
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
    EXPECT_EQ(walked({tree.at("deep")}).paths(), Paths{deepest + "/bottom"});
    // The standard library cannot remove what it cannot name.
    EXPECT_EQ(system(("rm -rf '" + tree.at("deep") + "'").c_str()), 0);
}

/// A real folder; so are those below it, after whatever `Changed` makes of them.
template <class Changed>
struct RealFolder : Folder {
    explicit RealFolder(std::unique_ptr<Folder> folder) : real(std::move(folder)) {}
    bool list(const std::function<bool(const FolderEntry&)>& visitor) override {
        return real->list(visitor);
    }
    std::optional<FileAttributes> attributes(const char* name) override {
        return real->attributes(name);
    }
    std::unique_ptr<HeaderFile> openFile(const char* name) override { return real->openFile(name); }
    std::unique_ptr<Folder> openFolder(std::string_view path) override {
        auto folder = real->openFolder(path);
        if (!folder) return nullptr;
        return static_cast<Changed*>(this)->changed(std::move(folder), path);
    }
    std::unique_ptr<Folder> real;
};

/// As on systems whose listing brings the attributes along: they are never asked for.
class ListingReader : public test::RealReader {
    struct ListingFolder : RealFolder<ListingFolder> {
        using RealFolder::RealFolder;
        static std::unique_ptr<Folder> changed(std::unique_ptr<Folder> folder, std::string_view) {
            return std::make_unique<ListingFolder>(std::move(folder));
        }
        bool list(const std::function<bool(const FolderEntry&)>& visitor) override {
            return real->list([&](FolderEntry entry) {
                if (entry.kind == EntryKind::file) {
                    entry.attributes = real->attributes(entry.name.data());
                }
                return visitor(entry);
            });
        }
        std::optional<FileAttributes> attributes(const char*) override { return std::nullopt; }
    };

public:
    std::unique_ptr<Folder> open(const std::string& path) override {
        return std::make_unique<ListingFolder>(RealReader::open(path));
    }
};

TEST_F(WalkTest, GivesEachFileTheAttributesThatItsListingBrought) {
    for (int i = 0; i < 40; ++i) {
        const auto name = std::to_string(i);
        tree.file((i % 3 == 0 ? "." : "f") + name, intel + std::string(name.size(), 'x'));
        tree.file("text" + name, name);
        tree.folder("d" + name);
    }
    ListingReader listing;
    const auto expected = walkedTree().hits;
    EXPECT_EQ(expected.size(), 26U);
    for (const auto& previous : {HitList(), expected}) {
        RecordingListener listener;
        PreviousHits known;
        known.provide(previous);
        walk(listing, {{tree.path()}, &known}, CancelFlag(), listener);
        EXPECT_TRUE(sameHits(listener.hits, expected));
    }
}

TEST_F(WalkTest, TakesRootsAsTheyAreGiven) {
    const auto file = tree.file("real/tool", intel);
    fs::create_directory_symlink(tree.at("real"), tree.at("link"));
    EXPECT_EQ(walked({tree.at("link")}).paths(), Paths{tree.at("link/tool")});
    EXPECT_EQ(walked({tree.at("real"), tree.at("real")}).paths(), (Paths{file, file}));
    EXPECT_TRUE(walked({file, tree.at("missing"), "/dev/fd", "/sys"}).hits.empty());
    EXPECT_EQ(walked({}).reports, Paths{"0 of 0"});
}

TEST_F(WalkTest, TakesAFileAsARootWhereSomeoneNamedIt) {
    const auto file = tree.file("bin/tool", intel);
    tree.file("bin/other", intel);
    tree.file("a.db", intel);
    RecordingListener listener;
    WalkRequest request{.roots = {file, tree.at("a.db")}, .threads = 1};
    EXPECT_EQ(walk(reader, request, CancelFlag(), listener).unread, file);
    request.rootsAreNamed = true;
    EXPECT_EQ(walk(reader, request, CancelFlag(), listener).unread, std::nullopt);
    EXPECT_EQ(listener.paths(), Paths{file});
    ASSERT_EQ(mkfifo(tree.at("fifo").c_str(), 0600), 0);
    request.roots = {tree.at("fifo")};
    EXPECT_EQ(walk(reader, request, CancelFlag(), listener).unread, tree.at("fifo"));
}

TEST_F(WalkTest, StaysBelowItsRootWhenAFolderIsSwappedForALink) {
    for (int i = 0; i < 30; ++i) tree.file("root/a/b/d" + std::to_string(i) + "/inside", intel);
    for (int i = 0; i < 30; ++i) tree.file("outside/b/d" + std::to_string(i) + "/outside", intel);
    fs::create_directory_symlink(tree.at("outside"), tree.at("link"));
    std::atomic<bool> done = false;
    std::thread swapping([&] {
        while (!done) tree.exchange("root/a", "link");
    });
    for (int i = 0; i < 300 && !HasFailure(); ++i) {
        for (const auto& path : walked({tree.at("root")}).paths()) {
            EXPECT_TRUE(path.ends_with("/inside")) << path;
        }
    }
    done = true;
    swapping.join();
}

TEST_F(WalkTest, ReportsTheSameWithAnyNumberOfThreads) {
    // The deeper the folders, the more there are and the fewer files each has: from 480 to 2.
    std::mt19937 random(42);
    for (int i = 0; i < 2400; ++i) {
        std::string folder;
        for (auto depth = random() % 5; depth > 0; --depth) {
            folder += "d" + std::to_string(random() % 4) + "/";
        }
        tree.file(folder + "f" + std::to_string(i), i % 8 == 0 ? "text" : intel);
    }
    const auto expected = walked({tree.path()}, {}, 1);
    EXPECT_EQ(expected.count, 2400);
    EXPECT_EQ(expected.hits.size(), 2100U);
    EXPECT_TRUE(expected.reports.at(0).starts_with("1000 /"));
    EXPECT_TRUE(expected.reports.at(2).starts_with("2000 of "));
    for (const unsigned threads : {2U, 3U, 8U, 16U, 32U}) {
        const auto result = walked({tree.path()}, {}, threads);
        ASSERT_EQ(result.reports, expected.reports);
        ASSERT_TRUE(sameHits(result.hits, expected.hits));
    }
    EXPECT_TRUE(sameHits(walkedTree(expected.hits).hits, expected.hits));
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
    // Of two with one path the first counts.
    auto other = std::make_shared<BinaryHit>(*first);
    other->archs = {"i386"};
    EXPECT_EQ(walkedTree({first, other}).hits.at(0)->archs, first->archs);
    EXPECT_EQ(answerFor([](BinaryHit& hit) { hit.ctime = 5; })->ctime, first->ctime);
    EXPECT_EQ(answerFor([](BinaryHit& hit) { ++hit.size; })->archs, Paths{"x86_64"});
    EXPECT_EQ(answerFor([](BinaryHit& hit) { hit.mtime += 1e-6; })->archs, Paths{"x86_64"});
    EXPECT_EQ(answerFor([](BinaryHit& hit) { hit.archs = {"cpu(9)"}; })->archs, Paths{"x86_64"});
    fs::remove(path);
    EXPECT_TRUE(walkedTree({first}).hits.empty());
}

/// Fails at what it is told to, for everything named "bad".
class FailingReader : public test::RealReader {
    struct FailingFile : HeaderFile {
        FailingFile(std::unique_ptr<HeaderFile> file, const std::string& fault)
            : real(std::move(file)), failing(fault) {}
        std::optional<std::size_t> readStart(std::span<std::byte> buffer) override {
            if (failing == "memory") throw std::bad_alloc();
            return failing == "read" ? std::nullopt : real->readStart(buffer);
        }
        std::optional<FileAttributes> attributes() override {
            return failing == "attributes" ? std::nullopt : real->attributes();
        }
        std::unique_ptr<HeaderFile> real;
        const std::string& failing;
    };
    struct FailingFolder : RealFolder<FailingFolder> {
        FailingFolder(std::unique_ptr<Folder> folder, bool bad, const std::string& fault)
            : RealFolder(std::move(folder)), isBad(bad), failing(fault) {}
        std::unique_ptr<Folder> changed(std::unique_ptr<Folder> folder, std::string_view path) {
            const bool bad = path.ends_with("/bad");
            if (bad && failing == "folder") return nullptr;
            return std::make_unique<FailingFolder>(std::move(folder), bad, failing);
        }
        bool list(const std::function<bool(const FolderEntry&)>& visitor) override {
            const bool whole = real->list([&](FolderEntry entry) {
                if (failing == "kind" && entry.name == "bad") entry.kind = EntryKind::unknown;
                return visitor(entry);
            });
            return whole && !(isBad && failing == "list");
        }
        std::optional<FileAttributes> attributes(const char* name) override {
            return fails("attributes", name) ? std::nullopt : real->attributes(name);
        }
        std::unique_ptr<HeaderFile> openFile(const char* name) override {
            if (fails("open", name)) return nullptr;
            auto file = real->openFile(name);
            if (name == std::string_view("bad")) {
                file = std::make_unique<FailingFile>(std::move(file), failing);
            }
            return file;
        }
        bool fails(std::string_view what, const char* name) const {
            return failing == what && name == std::string_view("bad");
        }
        bool isBad;
        const std::string& failing;
    };

public:
    std::unique_ptr<Folder> open(const std::string& path) override {
        auto folder = RealReader::open(path);
        if (!folder) return nullptr;
        return std::make_unique<FailingFolder>(std::move(folder), false, fault);
    }
    std::string fault;
};

TEST_F(WalkTest, TellsWhatItCouldNotLookAt) {
    const auto file = tree.file("a/bad", intel);
    tree.file("a/good", intel);
    tree.file("b/bad/tool", intel);
    tree.file("c/empty");
    fs::create_symlink("nowhere", tree.at("c/link"));
    ASSERT_EQ(mkfifo(tree.at("c/fifo").c_str(), 0600), 0);
    const auto all = walkedTree().hits;
    EXPECT_EQ(all.size(), 3U);
    FailingReader failing;
    const auto unreadAfter = [&](const char* fault, const HitList& previous, std::size_t hits) {
        failing.fault = fault;
        RecordingListener listener;
        PreviousHits known;
        known.provide(previous);
        auto outcome = walk(failing, {{tree.path()}, &known}, CancelFlag(), listener);
        EXPECT_EQ(listener.hits.size(), hits) << fault;
        return outcome.unread;
    };
    EXPECT_EQ(unreadAfter("", {}, 3), std::nullopt);
    for (const auto* const fault : {"open", "read", "attributes"}) {
        EXPECT_EQ(unreadAfter(fault, {}, 2), file) << fault;
    }
    EXPECT_EQ(unreadAfter("attributes", all, 2), file);
    EXPECT_EQ(unreadAfter("folder", {}, 2), tree.at("b/bad"));
    EXPECT_EQ(unreadAfter("list", {}, 3), tree.at("b/bad"));
    EXPECT_TRUE(unreadAfter("kind", {}, 1));
    EXPECT_THROW(unreadAfter("memory", {}, 0), std::bad_alloc);
    RecordingListener listener;
    EXPECT_EQ(walk(failing, {{tree.at("missing")}}, CancelFlag(), listener).unread,
              tree.at("missing"));
    EXPECT_EQ(walk(failing, {{"/dev/fd"}}, CancelFlag(), listener).unread, std::nullopt);
}

/// Cancels a walk at one of its steps: a folder or a file that is opened, an entry that is listed.
class CancellingReader : public test::RealReader {
    struct CancellingFolder : RealFolder<CancellingFolder> {
        CancellingFolder(std::unique_ptr<Folder> folder, CancellingReader& reader)
            : RealFolder(std::move(folder)), owner(reader) {}
        std::unique_ptr<Folder> changed(std::unique_ptr<Folder> folder, std::string_view) {
            owner.step();
            return std::make_unique<CancellingFolder>(std::move(folder), owner);
        }
        bool list(const std::function<bool(const FolderEntry&)>& visitor) override {
            return real->list([&](const FolderEntry& entry) {
                owner.step();
                return visitor(entry);
            });
        }
        std::unique_ptr<HeaderFile> openFile(const char* name) override {
            owner.step();
            return real->openFile(name);
        }
        CancellingReader& owner;
    };

public:
    explicit CancellingReader(int step) : last(step) {}
    std::unique_ptr<Folder> open(const std::string& path) override {
        return std::make_unique<CancellingFolder>(test::RealReader::open(path), *this);
    }
    void step() {
        if (++steps == last) flag.cancel();
    }

    const int last;
    std::atomic<int> steps = 0;
    CancelFlag flag;
};

TEST_F(WalkTest, StopsAtOnceWhenCancelledAndHandsOverWhatWasFound) {
    for (int i = 0; i < 60; ++i) tree.file(std::to_string(i / 6) + "/" + std::to_string(i), intel);
    std::size_t most = 0;
    for (int step = 1; step < 150; step += 7) {
        CancellingReader cancelling(step);
        RecordingListener listener;
        walk(cancelling, {{tree.path()}, {}, 1}, cancelling.flag, listener);
        EXPECT_LE(cancelling.steps, step + 3);
        EXPECT_EQ(listener.count, static_cast<std::int64_t>(listener.hits.size()));
        most = std::max(most, listener.hits.size());
        RecordingListener after;
        walk(cancelling, {{tree.path()}}, cancelling.flag, after);
        EXPECT_EQ(after.reports, Paths{"0 of 0"});
    }
    EXPECT_GE(most, 40U);
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
    for (const rlim_t left : {5U, 24U}) {
        auto few = usual;
        few.rlim_cur = static_cast<rlim_t>(next) + left;
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
        const auto result = walkedTree();
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &usual), 0);
        EXPECT_EQ(result.hits.size(), 360U);
    }
}

TEST(ScanRoots, FollowTheChoice) {
    EXPECT_EQ(scanRoots("~/x", Scope::deep, "/home/me"), Paths{"~/x"});
    EXPECT_EQ(scanRoots(std::nullopt, Scope::deep, "/home/me"), Paths{"/"});
    EXPECT_EQ(scanRoots(std::nullopt, Scope::smart, "/home/me")[3], "/home/me/Library");
}

TEST(FolderExclusions, ConcernAbsolutePlacesAsWholeComponents) {
    for (const auto& [prefix, name, expected] :
         {std::tuple{"/", "Volumes", true}, std::tuple{"/", "devices", false},
          std::tuple{"/devices/", "a", false}, std::tuple{"/Volumes/Disk/a/", "b", true},
          std::tuple{"/System/", "Library", false}, std::tuple{"/Library/", "Developer", true},
          std::tuple{"/Users/me/Library/", "Developer", false}}) {
        const FolderExclusions exclusions(prefix);
        EXPECT_EQ(exclusions.everything() || exclusions.excludes(name), expected) << prefix << name;
    }
    const std::vector<std::string> named = {"/Volumes", "/Library/Developer/a"};
    for (const auto& [prefix, everything] :
         {std::pair{"/Volumes/", false}, std::pair{"/Volumes/Disk/", false},
          std::pair{"/Library/Developer/a/b/", false}, std::pair{"/Library/Developer/c/", true},
          std::pair{"/dev/", true}}) {
        EXPECT_EQ(FolderExclusions(prefix, named).everything(), everything) << prefix;
    }
    EXPECT_TRUE(FolderExclusions("/Library/", named).excludes("Developer"));
}

}  // namespace
}  // namespace vestigo
