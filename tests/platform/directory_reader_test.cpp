#include <array>
#include <filesystem>
#include <map>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/time.h>

#include "platform/system.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

class DirectoryReaderTest : public testing::Test {
protected:
    [[nodiscard]] std::unique_ptr<Folder> open(const std::string& path,
                                               LinkRule links = LinkRule::refuse) const {
        return reader->open(path, links);
    }
    static std::size_t bytesRead(Folder& folder, const char* name) {
        std::array<std::byte, 16> buffer{};
        const auto file = folder.openFile(name);
        return file ? file->readStart(buffer) : 0;
    }

    std::shared_ptr<DirectoryReader> reader = systemDirectoryReader();
    test::TemporaryTree tree;
};

TEST_F(DirectoryReaderTest, TellsKindsAndHiddenNamesApart) {
    tree.file("file", "x");
    tree.folder("folder");
    tree.file(".hidden");
    fs::create_symlink("file", tree.at("link"));
    ASSERT_EQ(mkfifo(tree.at("fifo").c_str(), 0600), 0);
    std::map<std::string, EntryKind> kinds;
    std::vector<std::string> hidden;
    open(tree.path())->list([&](const FolderEntry& entry) {
        if (entry.hidden) hidden.emplace_back(entry.name);
        kinds.emplace(entry.name, entry.kind);
        return true;
    });
    kinds.erase(".hidden");
    const std::map<std::string, EntryKind> expected = {{"file", EntryKind::file},
                                                       {"folder", EntryKind::folder},
                                                       {"link", EntryKind::link},
                                                       {"fifo", EntryKind::other}};
    EXPECT_EQ(kinds, expected);
    EXPECT_EQ(hidden, std::vector<std::string>{".hidden"});
}

TEST_F(DirectoryReaderTest, ListsLargeFoldersWholeAndStopsWhenAsked) {
    for (int i = 0; i < 3000; ++i) tree.file("a-rather-long-name-" + std::to_string(i));
    int all = 0;
    open(tree.path())->list([&](const FolderEntry&) { return ++all, true; });
    EXPECT_EQ(all, 3000);
    int some = 0;
    open(tree.path())->list([&](const FolderEntry&) { return ++some < 5; });
    EXPECT_EQ(some, 5);
}

TEST_F(DirectoryReaderTest, NeverFollowsALinkNorBlocksWhenAFileHasChangedItsType) {
    tree.file("target", "0123456789");
    fs::create_symlink("target", tree.at("link"));
    tree.folder("folder");
    ASSERT_EQ(mkfifo(tree.at("fifo").c_str(), 0600), 0);
    const auto folder = open(tree.path());
    EXPECT_EQ(bytesRead(*folder, "target"), 10U);
    for (const auto* const name : {"link", "fifo", "folder", "missing"}) {
        EXPECT_EQ(bytesRead(*folder, name), 0U) << name;
        EXPECT_FALSE(folder->attributes(name)) << name;
    }
    EXPECT_FALSE(folder->openFile("fifo")->attributes());
}

TEST_F(DirectoryReaderTest, TellsSizeAndTimesAlikeInEveryWay) {
    const auto path = tree.file("file", "0123456789");
    constexpr timeval day{978307200 + 86400, 500000};  // 2001-01-02, in the system's own count.
    const timeval times[] = {day, day};
    ASSERT_EQ(utimes(path.c_str(), times), 0);
    const auto folder = open(tree.path());
    std::optional<FileAttributes> listed;
    folder->list([&](const FolderEntry& entry) {
        listed = entry.attributes;
        return true;
    });
    const auto asked = folder->attributes("file");
    for (const auto& attributes :
         {listed ? listed : asked, asked, folder->openFile("file")->attributes()}) {
        ASSERT_TRUE(attributes);
        EXPECT_EQ(attributes->size, 10);
        EXPECT_DOUBLE_EQ(attributes->mtime, 86400.5);
        EXPECT_DOUBLE_EQ(attributes->ctime, asked->ctime);
    }
}

TEST_F(DirectoryReaderTest, OpensRealFoldersOnly) {
    tree.file("file");
    fs::create_directory_symlink(tree.path(), tree.at("link"));
    EXPECT_NE(open(tree.at("link"), LinkRule::follow), nullptr);
    // Of the kernel's own trees every system has others.
    for (const auto& path : {tree.at("file"), tree.at("missing"), tree.at("link"),
                             std::string("/proc"), std::string("/proc/self/task"),
                             std::string("/sys"), std::string("/sys/fs/cgroup/unified")}) {
        EXPECT_EQ(open(path), nullptr) << path;
    }
}

}  // namespace
}  // namespace vestigo
