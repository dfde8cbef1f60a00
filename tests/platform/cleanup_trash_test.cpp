#include "platform/system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

TEST(CleanupTrash, GivesAScriptAFolderOfTheUsersAndLeavesNothingBehind) {
    const test::TemporaryTree tree;
    const StandardFolders folders{
        .home = tree.path(), .applicationSupport = tree.at("support"), .temporary = {}};
    const auto files = systemFiles();
    const auto trash = systemCleanupTrash(folders, files);
    std::vector<CleanupItem> items;
    for (const auto& path : {tree.file("a"), tree.folder("b.app"), tree.file("x/a")}) {
        items.push_back({path, files->identity(path).value()});
    }
    for (int round = 0; round < 2; ++round) {
        const auto plan = trash->plan(items);
        EXPECT_EQ(plan.error, std::nullopt);
        EXPECT_EQ(plan.items.size(), items.size());
        EXPECT_TRUE(plan.folder.starts_with(tree.path()));
        EXPECT_EQ(files->kind(plan.folder), EntryKind::folder);
        EXPECT_EQ(files->names(plan.folder), std::vector<std::string>());
        if (!plan.notes) continue;
        EXPECT_EQ(files->kind(plan.notes->journal + "/notes/3"), EntryKind::file);
        EXPECT_EQ(files->names(plan.notes->folder), std::vector<std::string>());
    }
    const auto made = files->names(tree.at("support/Trash"));
    EXPECT_TRUE(!made || made->size() == 2);
}

}  // namespace
}  // namespace vestigo
