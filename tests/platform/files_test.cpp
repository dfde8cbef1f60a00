#include <sys/file.h>
#include <sys/resource.h>

#include "platform/posix/descriptor.h"
#include "platform/posix/folder_access.h"
#include "platform/system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

struct FilesTest : testing::Test {
    [[nodiscard]] auto entries() const { return files.names(tree.path()).value().size(); }
    std::string namedPipe() const {
        auto path = tree.at("fifo");
        EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
        return path;
    }

    test::TemporaryTree tree;
    std::shared_ptr<Files> ofThisSystem = systemFiles();
    Files& files = *ofThisSystem;
};

TEST_F(FilesTest, ReplacesByAFileThatIsPrivateOrOpenAsBefore) {
    const auto target = tree.file("target", "untouched");
    const auto path = tree.at("caf\xc3\xa9");
    fs::create_symlink(target, path);
    const std::string content("new\0\n", 5);
    EXPECT_TRUE(files.replace(path, content, Access::ownerOnly));
    EXPECT_EQ(files.read(path), content);
    EXPECT_EQ(fs::symlink_status(path).permissions(), fs::perms{0600});
    EXPECT_EQ(files.read(target), "untouched");
    fs::permissions(path, fs::perms{0640});
    EXPECT_TRUE(files.replace(path, "", Access::usual));
    EXPECT_EQ(files.read(path), "");
    EXPECT_EQ(fs::status(path).permissions(), fs::perms{0640});
    EXPECT_EQ(entries(), 2U);
}

TEST_F(FilesTest, AFailedReplacementOrCopyChangesNothing) {
    const auto file = tree.file("file", "old");
    const auto folder = tree.folder("folder");
    for (const auto& path : {folder, folder + "/", tree.at("none/file"), file + "/below"}) {
        EXPECT_FALSE(files.replace(path, "new", Access::ownerOnly)) << path;
    }
    // The disk takes the first bytes and then no more.
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit usual {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &usual), 0);
    const struct rlimit few { .rlim_cur = 4, .rlim_max = usual.rlim_max };
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &few), 0);
    const bool replaced = files.replace(file, "longer than that", Access::usual);
    ::setrlimit(RLIMIT_FSIZE, &usual);
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(replaced);
    EXPECT_FALSE(files.copy(tree.at("none"), tree.at("new")));
    EXPECT_TRUE(files.copy(file, tree.at("copy")));
    EXPECT_EQ(files.read(tree.at("copy")), "old");
    EXPECT_FALSE(files.copy(tree.file("other", "new"), file));
    EXPECT_EQ(files.read(file), "old");
    EXPECT_EQ(entries(), 4U);
    EXPECT_TRUE(fs::is_empty(folder));
}

TEST_F(FilesTest, ASaveRemovesWhatKilledSavesHaveLeftAndNothingElse) {
    const auto named = [](char letter) { return ".vestigo-" + std::string(32, letter); };
    tree.file(named('a'), "orphan");
    const Descriptor alive(::open(tree.file(named('b')).c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(::flock(alive.get(), LOCK_EX), 0);
    tree.folder(named('c'));
    fs::create_symlink(tree.file("target"), tree.at(named('d')));
    ASSERT_EQ(::mkfifo(tree.at(named('e')).c_str(), 0600), 0);
    for (const auto& name :
         {named('A'), named('f') + "f", named('f').substr(1), named('f') + "~"}) {
        tree.file(name);
    }
    // Only root can give a file to somebody else.
    const bool isRoot = ::geteuid() == 0;
    ASSERT_TRUE(!isRoot || ::chown(tree.file(named('0')).c_str(), 4711, 4711) == 0);
    const auto before = entries();
    EXPECT_TRUE(files.replace(tree.at("export.csv"), "new", Access::usual));
    EXPECT_FALSE(fs::exists(tree.at(named('a'))));
    EXPECT_EQ(entries(), before);
}

TEST_F(FilesTest, ReadsRegularFilesAndOnlyToTheEndAlsoPipes) {
    const auto pipe = namedPipe();
    const auto huge = tree.file("huge");
    fs::resize_file(huge, std::uintmax_t{1} << 42U);
    for (const auto& path : {pipe, huge, tree.path(), tree.at("none")}) {
        EXPECT_FALSE(files.read(path)) << path;
    }
    const auto file = tree.file("file", "0123456789");
    EXPECT_EQ(files.readOwn(file, 4).bytes, "0123");
    EXPECT_EQ(files.readOwn(file, 10).bytes, "0123456789");
    EXPECT_EQ(files.readOwn(pipe, 4).problem, "it is no regular file");
    const std::string much(300'000, 'm');
    const auto writer = std::async(std::launch::async, [&] { std::ofstream(pipe) << much; });
    EXPECT_EQ(files.readToEnd(pipe).bytes, much);
    const Descriptor folder(::open(tree.path().c_str(), O_RDONLY | O_CLOEXEC));
    std::array<std::byte, 4> start{};
    EXPECT_EQ(readStart(folder.get(), start), std::nullopt);
}

TEST_F(FilesTest, TellsWhatLiesAtAPathAndRemovesALinkItself) {
    const auto folder = tree.folder("folder");
    const auto file = tree.file("folder/file", "content");
    const auto link = tree.at("folder/link");
    fs::create_directory_symlink(folder, link);
    const std::pair<std::string, std::optional<EntryKind>> kinds[] = {
        {file, EntryKind::file},
        {folder, EntryKind::folder},
        {link, EntryKind::link},
        {namedPipe(), EntryKind::other},
        {tree.at("none"), std::nullopt}};
    for (const auto& [path, kind] : kinds) EXPECT_EQ(files.kind(path), kind) << path;
    EXPECT_EQ(files.resolved(link + "/link/../folder/file"), file);
    EXPECT_EQ(files.resolved(link + "/none"), std::nullopt);
    EXPECT_EQ(files.names(file), std::nullopt);
    EXPECT_TRUE(files.remove(link));
    EXPECT_EQ(files.names(folder), Names{"file"});
}

TEST_F(FilesTest, AFolderIsHeldByOneAtATime) {
    CancelFlag cancel;
    auto held = files.lockFolder(tree.path(), cancel);
    ASSERT_TRUE(held);
    const auto wait = [&] { return files.lockFolder(tree.path(), cancel); };
    auto next = std::async(std::launch::async, wait);
    EXPECT_EQ(next.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    held.reset();
    held = next.get();
    ASSERT_TRUE(held);
    next = std::async(std::launch::async, wait);
    cancel.cancel();
    EXPECT_FALSE(next.get());
    held.reset();
    EXPECT_TRUE(files.lockFolder(tree.path(), cancel));
    EXPECT_FALSE(files.lockFolder(tree.at("none"), CancelFlag()));
}

TEST_F(FilesTest, APrivateFolderIsARealOneThatNobodyElseMayEnter) {
    const auto folder = tree.folder("folder");
    fs::create_directory_symlink(folder, tree.at("link"));
    for (const auto mode : {0701U, 0710U, 0700U}) {
        fs::permissions(folder, fs::perms{mode});
        EXPECT_EQ(files.isPrivateFolder(folder), mode == 0700) << mode;
        EXPECT_FALSE(files.isPrivateFolder(tree.at("link")));
    }
    EXPECT_TRUE(::chown(folder.c_str(), 4711, 4711) != 0 || !files.isPrivateFolder(folder));
}

// What has changed since it was listed is no longer what the walk knows.
TEST(Links, AreVisitedInRealFoldersAsLongAsNothingMoves) {
    for (const bool moves : {false, true}) {
        const test::TemporaryTree tree;
        for (const auto* const folder : {"lib/one", "lib/two", "other/one", "other/two"}) {
            fs::create_symlink("nowhere", tree.folder(folder) + "/link");
        }
        Names visited;
        systemLinks()->visit(tree.at("lib"), [&](const FoundLink& link) {
            visited.emplace_back(link.folder());
            if (visited.size() > 1) return;
            // The one that is still to come becomes a link, or the other folder the way back.
            const bool isOne = link.folder() == tree.at("lib/one");
            const auto next = tree.at(isOne ? "lib/two" : "lib/one");
            const auto here = std::string(link.folder());
            fs::rename(moves ? here : next, tree.at("other/aside"));
            if (!moves) fs::create_directory_symlink(tree.at("other/one"), next);
        });
        EXPECT_EQ(visited.size(), 1U);
    }
}

}  // namespace
}  // namespace vestigo
