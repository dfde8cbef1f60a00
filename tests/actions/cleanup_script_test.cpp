#include "actions/cleanup_script.h"

#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>

#include "platform/folder_cleanup_trash.h"
#include "platform/posix/posix_files.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

TEST(CleanupScript, HasThePlainFormWhereTheNamesAreFree) {
    const std::vector<CleanupMove> moves{
        {"/Library/LaunchDaemons/com.example.helper.plist", "/Users/ann/.Trash", std::nullopt},
        {"/Library/it's", "/Users/o'neil/.Trash", std::nullopt}};
    EXPECT_EQ(cleanupScript(moves),
              "#!/bin/sh\n"
              "mv -f '/Library/LaunchDaemons/com.example.helper.plist' '/Users/ann/.Trash'/ "
              "2>/dev/null || true\n"
              "mv -f '/Library/it'\\''s' '/Users/o'\\''neil/.Trash'/ 2>/dev/null || true\n");
}

TEST(CleanupScript, IsRunThroughTwoArguments) {
    const auto arguments = osascriptArguments("/var/folders/xy/T/tm_sys_cleanup.sh");
    EXPECT_EQ(arguments[0], "-e");
    EXPECT_EQ(arguments[1],
              "do shell script \"/bin/sh \\\"/var/folders/xy/T/tm_sys_cleanup.sh\\\"\" with "
              "administrator privileges");
}

struct CleanupShellTest : testing::Test {
    /// Runs the script that moves these to the folder "Trash".
    void runFor(const std::vector<std::string>& paths) {
        FolderCleanupTrash trash(tree.folder("o'ne \"$HOME\" Trash"), files);
        const auto plan = trash.plan(paths);
        ASSERT_FALSE(plan.error);
        const auto script = tree.file("script.sh", cleanupScript(plan.moves));
        ASSERT_EQ(std::system(("/bin/sh " + script).c_str()), 0);
    }
    [[nodiscard]] std::string inTrash(const std::string& name) {
        return files->read(tree.at("o'ne \"$HOME\" Trash/" + name)).value_or("nothing");
    }

    test::TemporaryTree tree;
    std::shared_ptr<PosixFiles> files = std::make_shared<PosixFiles>();
};

TEST_F(CleanupShellTest, MovesExactlyTheFilesOfAnyName) {
    const std::string names[] = {
        "it's", "'",         "''\\''",      "\"",          "\\",    "a b\t", "line\nfeed",
        "-rf",  "--",        "$(touch x)",  "`touch x`",   "$HOME", "*",     "?",
        "~",    "; touch x", "\xff\xfe",    "caf\xc3\xa9", "#",     "a\\",   "&",
        "|",    "\r",        "\x01\x1b[0m", "!!"};
    std::vector<std::string> paths;
    for (const auto& name : names) {
        paths.push_back(tree.file("source/" + name, name));
        tree.file("source/decoy" + name, "stays");
    }
    paths.insert(paths.begin() + 3, tree.at("source/vanished"));
    runFor(paths);
    for (const auto& name : names) {
        EXPECT_EQ(inTrash(name), name);
        EXPECT_FALSE(fs::exists(tree.at("source/" + name)));
        EXPECT_TRUE(fs::exists(tree.at("source/decoy" + name)));
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(tree.path()), {}), 3);
}

TEST_F(CleanupShellTest, KeepsEverythingWhoseNamesCollide) {
    tree.file("o'ne \"$HOME\" Trash/tool.plist", "older");
    fs::create_symlink("nowhere", tree.at("o'ne \"$HOME\" Trash/tool.2.plist"));
    tree.file("o'ne \"$HOME\" Trash/folder/inner", "older");
    tree.file("d/folder/inner", "newer");
    runFor({tree.file("a/tool.plist", "a"), tree.file("b/tool.plist", "b"), tree.at("d/folder"),
            tree.file("c/free", "c"), tree.file("e/Free", "e")});
    EXPECT_EQ(inTrash("tool.plist"), "older");
    EXPECT_EQ(inTrash("tool.3.plist"), "a");
    EXPECT_EQ(inTrash("tool.4.plist"), "b");
    EXPECT_EQ(inTrash("folder/inner"), "older");
    EXPECT_EQ(inTrash("folder.2/inner"), "newer");
    EXPECT_EQ(inTrash("free"), "c");
    EXPECT_EQ(inTrash("Free.2"), "e");
}

}  // namespace
}  // namespace vestigo
