#include <sys/resource.h>
#include <sys/time.h>

#include "platform/system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

struct DirectoryReaderTest : testing::Test {
    std::shared_ptr<DirectoryReader> reader = systemDirectoryReader();
    test::TemporaryTree tree;
};

TEST_F(DirectoryReaderTest, TellsKindsApartAndOpensFilesOnlyWithoutEverBlocking) {
    tree.file("file", "0123456789");
    tree.folder("folder");
    tree.file(".hidden");
    fs::create_symlink("file", tree.at("link"));
    ASSERT_EQ(mkfifo(tree.at("fifo").c_str(), 0600), 0);
    const auto folder = reader->open(tree.path());
    std::map<std::string, EntryKind> kinds;
    EXPECT_TRUE(folder->list([&](const FolderEntry& entry) {
        EXPECT_EQ(entry.hidden, entry.name == ".hidden") << entry.name;
        if (!entry.hidden) kinds.emplace(entry.name, entry.kind);
        return true;
    }));
    const std::map<std::string, EntryKind> expected = {{"file", EntryKind::file},
                                                       {"folder", EntryKind::folder},
                                                       {"link", EntryKind::link},
                                                       {"fifo", EntryKind::other}};
    EXPECT_EQ(kinds, expected);
    for (const std::string name : {"file", "link", "fifo", "folder", "missing"}) {
        std::array<std::byte, 16> buffer{};
        const auto file = folder->openFile(name.c_str());
        const auto read = file ? file->readStart(buffer) : std::nullopt;
        EXPECT_EQ(read, name == "file" ? std::optional<std::size_t>(10) : std::nullopt) << name;
        EXPECT_EQ(folder->attributes(name.c_str()).has_value(), name == "file") << name;
    }
}

TEST_F(DirectoryReaderTest, WaitsForADescriptorThatOthersGiveBack) {
    // A sanitizer needs descriptors when it meets a type for the first time, that of a thread too.
    ASSERT_TRUE(reader->open(tree.path()));
    struct rlimit usual {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &usual), 0);
    std::atomic<bool> isLimited = false;
    std::atomic<bool> runs = false;
    std::thread giver([&] {
        runs = true;
        while (!isLimited) std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        setrlimit(RLIMIT_NOFILE, &usual);
    });
    while (!runs) std::this_thread::yield();
    auto none = usual;
    none.rlim_cur = 0;
    const bool limited = setrlimit(RLIMIT_NOFILE, &none) == 0;
    isLimited = true;
    EXPECT_TRUE(limited);
    EXPECT_TRUE(reader->open(tree.path()));
    giver.join();
}

TEST_F(DirectoryReaderTest, ListsLargeFoldersWholeAndStopsWhenAsked) {
    for (int i = 0; i < 1500; ++i) tree.file("a-rather-long-name-" + std::to_string(i));
    for (const int limit : {5, 4000}) {
        int count = 0;
        const auto folder = reader->open(tree.path());
        EXPECT_TRUE(folder->list([&](const FolderEntry&) { return ++count < limit; }));
        EXPECT_EQ(count, std::min(limit, 1500));
    }
}

TEST_F(DirectoryReaderTest, TellsSizeAndTimesAlikeInEveryWay) {
    const auto path = tree.file("file", "0123456789");
    const timeval times[2] = {{}, {978307200 + 86400, 500000}};  // Modified on 2001-01-02.
    ASSERT_EQ(utimes(path.c_str(), times), 0);
    const auto folder = reader->open(tree.path());
    const auto asked = folder->attributes("file");
    auto listed = asked;
    EXPECT_TRUE(folder->list([&](const FolderEntry& entry) {
        if (entry.attributes) listed = entry.attributes;
        return true;
    }));
    for (const auto& attributes : {asked, listed, folder->openFile("file")->attributes()}) {
        ASSERT_TRUE(attributes);
        EXPECT_EQ(attributes->size, 10);
        EXPECT_DOUBLE_EQ(attributes->mtime, 86400.5);
        EXPECT_DOUBLE_EQ(attributes->ctime, asked->ctime);
        EXPECT_EQ(attributes->modified, (978307200 + 86400) * 1'000'000'000LL + 500'000'000);
        EXPECT_EQ(attributes->changed, asked->changed);
        EXPECT_EQ(attributes->fileSystem, asked->fileSystem);
    }
    // The creation is no change of the inode.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    fs::permissions(path, fs::perms::owner_all);
    EXPECT_EQ(folder->attributes("file")->ctime, asked->ctime);
    // A date like any other, and not an unknown one.
    const timeval first[2] = {};
    ASSERT_EQ(utimes(path.c_str(), first), 0);
    EXPECT_DOUBLE_EQ(folder->attributes("file")->mtime, -978307200);
}

TEST_F(DirectoryReaderTest, KnowsTheFileSystemOfAFolderFromWhereverItIsOpened) {
    const auto path = tree.file("a/b/file");
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    const auto expected = reader->open(tree.at("a/b"))->attributes("file");
    // Which one it is differs from machine to machine.
    EXPECT_TRUE(expected->changed == 0 || expected->changed / 1'000'000'000 == status.st_ctime);
    EXPECT_EQ(expected->changed == 0, expected->fileSystem == 0);
    const auto root = reader->open("/");
    for (int time = 0; time < 2; ++time) {
        const auto found = root->openFolder(tree.path().substr(1) + "/a/b")->attributes("file");
        EXPECT_EQ(found->changed, expected->changed);
        EXPECT_EQ(found->fileSystem, expected->fileSystem);
        // Every system has other pseudo file systems; what has no such folder opens none.
        for (const std::string pseudo : {"proc/self/task", "sys", "dev/fd"}) {
            const auto unexpected = [](const FolderEntry&) { return ADD_FAILURE(), false; };
            const auto folder = root->openFolder(pseudo);
            EXPECT_TRUE(!folder || folder->list(unexpected)) << pseudo;
            const auto direct = reader->open("/" + pseudo);
            EXPECT_TRUE(!direct || direct->list(unexpected)) << pseudo;
        }
    }
}

TEST_F(DirectoryReaderTest, OpensRealFoldersOnly) {
    tree.file("file");
    fs::create_directory_symlink(tree.path(), tree.at("link"));
    EXPECT_NE(reader->open(tree.at("link")), nullptr);
    tree.file("folder/below/file");
    fs::create_directory_symlink("folder", tree.at("inner"));
    const auto root = reader->open(tree.at("link"));
    EXPECT_NE(root->openFolder("folder/below"), nullptr);
    for (const std::string path : {"file", "missing", "link", "inner/below", "folder/below/file"}) {
        EXPECT_EQ(root->openFolder(path), nullptr) << path;
        EXPECT_EQ(reader->open(tree.at(path)) != nullptr, path == "link" || path == "inner/below");
    }
}

}  // namespace
}  // namespace vestigo
