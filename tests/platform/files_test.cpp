#include <sys/file.h>

#include "platform/posix/descriptor.h"
#include "platform/system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

struct FilesTest : testing::Test {
    test::TemporaryTree tree;
    std::shared_ptr<Files> ofThisSystem = systemFiles();
    Files& files = *ofThisSystem;

    [[nodiscard]] auto entries() const {
        return std::distance(fs::directory_iterator(tree.path()), fs::directory_iterator());
    }
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
    EXPECT_EQ(entries(), 2);
}

TEST_F(FilesTest, AFailedReplacementOrCopyChangesNothing) {
    const auto file = tree.file("file", "old");
    const auto folder = tree.folder("folder");
    for (const auto& path : {folder, folder + "/", tree.at("none/file"), file + "/below"}) {
        EXPECT_FALSE(files.replace(path, "new", Access::ownerOnly)) << path;
    }
    EXPECT_FALSE(files.copy(tree.at("none"), tree.at("new")));
    EXPECT_TRUE(files.copy(file, tree.at("copy")));
    EXPECT_EQ(files.read(tree.at("copy")), "old");
    EXPECT_FALSE(files.copy(tree.file("other", "new"), file));
    EXPECT_EQ(files.read(file), "old");
    EXPECT_EQ(entries(), 4);
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

TEST_F(FilesTest, ReadsOnlyRegularFilesOfReasonableSize) {
    const auto fifo = tree.at("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const auto huge = tree.file("huge");
    fs::resize_file(huge, std::uintmax_t{1} << 42U);
    for (const auto& path : {fifo, huge, tree.path(), tree.at("none")}) {
        EXPECT_FALSE(files.read(path)) << path;
    }
}

TEST_F(FilesTest, TellsWhatLiesAtAPathAndRemovesALinkItself) {
    const auto folder = tree.folder("folder");
    const auto file = tree.file("folder/file", "content");
    const auto link = tree.at("folder/link");
    fs::create_directory_symlink(folder, link);
    ASSERT_EQ(::mkfifo(tree.at("fifo").c_str(), 0600), 0);
    const std::pair<std::string, std::optional<EntryKind>> kinds[] = {
        {file, EntryKind::file},
        {folder, EntryKind::folder},
        {link, EntryKind::link},
        {tree.at("fifo"), EntryKind::other},
        {tree.at("none"), std::nullopt}};
    for (const auto& [path, kind] : kinds) EXPECT_EQ(files.kind(path), kind) << path;
    EXPECT_EQ(files.resolved(link + "/link/../folder/file"), file);
    EXPECT_EQ(files.resolved(link + "/none"), std::nullopt);
    EXPECT_EQ(files.names(file), std::nullopt);
    EXPECT_TRUE(files.remove(link));
    EXPECT_EQ(files.names(folder), std::vector<std::string>{"file"});
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
    EXPECT_EQ(next.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    cancel.cancel();
    EXPECT_FALSE(next.get());
    held.reset();
    EXPECT_TRUE(files.lockFolder(tree.path(), cancel));
    EXPECT_FALSE(files.lockFolder(tree.at("none"), CancelFlag()));
}

TEST_F(FilesTest, APrivateFolderIsARealOneThatNobodyElseMayEnter) {
    const auto folder = tree.folder("folder");
    fs::create_directory_symlink(folder, tree.at("link"));
    for (const auto mode : {0700U, 0710U, 0701U}) {
        fs::permissions(folder, fs::perms{mode});
        EXPECT_EQ(files.isPrivateFolder(folder), mode == 0700) << mode;
        EXPECT_FALSE(files.isPrivateFolder(tree.at("link")));
    }
    fs::permissions(folder, fs::perms::owner_all);
    EXPECT_TRUE(::chown(folder.c_str(), 4711, 4711) != 0 || !files.isPrivateFolder(folder));
}

}  // namespace
}  // namespace vestigo
