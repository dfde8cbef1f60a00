#include <array>
#include <filesystem>
#include <map>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/system.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

class DirectoryReaderTest : public testing::Test {
protected:
    std::unique_ptr<Folder> open(const std::string& path, LinkRule links = LinkRule::refuse) {
        return reader.open(path, links);
    }
    static std::size_t bytesRead(Folder& folder, const char* name) {
        std::array<std::byte, 16> buffer{};
        const auto file = folder.openFile(name);
        return file ? file->readStart(buffer) : 0;
    }

    std::shared_ptr<DirectoryReader> ofThisSystem = systemDirectoryReader();
    DirectoryReader& reader = *ofThisSystem;
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
    EXPECT_EQ(folder->attributes("target")->size, 10);
    EXPECT_FALSE(folder->openFile("fifo")->attributes());
}

TEST_F(DirectoryReaderTest, OpensRealFoldersOnly) {
    tree.file("file");
    fs::create_directory_symlink(tree.path(), tree.at("link"));
    EXPECT_EQ(open(tree.at("file")), nullptr);
    EXPECT_EQ(open(tree.at("missing")), nullptr);
    EXPECT_EQ(open(tree.at("link")), nullptr);
    EXPECT_NE(open(tree.at("link"), LinkRule::follow), nullptr);
    for (const auto* const pseudo :
         {"/proc", "/proc/self/task", "/sys", "/sys/fs/cgroup/unified"}) {
        EXPECT_EQ(open(pseudo), nullptr) << pseudo;
    }
}

}  // namespace
}  // namespace vestigo
