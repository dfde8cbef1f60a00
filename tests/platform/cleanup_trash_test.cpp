#include <filesystem>
#include <set>

#include <gtest/gtest.h>

#include "platform/system.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

TEST(CleanupTrash, HasAFreePlaceForEachItem) {
    const test::TemporaryTree tree;
    const StandardFolders folders{
        .home = tree.path(), .applicationSupport = tree.at("support"), .temporary = {}};
    const auto trash = systemCleanupTrash(folders, systemFiles());
    const std::vector<std::string> paths{"/Library/a", "/Library/b.app", "/Library/x/a"};
    std::set<std::string> places;
    for (int round = 0; round < 2; ++round) {
        const auto plan = trash->plan(paths);
        ASSERT_EQ(plan.moves.size(), paths.size());
        for (std::size_t i = 0; i < paths.size(); ++i) {
            const auto& move = plan.moves[i];
            EXPECT_EQ(move.path, paths[i]);
            const auto name = move.newName.value_or(fs::path(move.path).filename().string());
            const auto place = fs::path(move.folder) / name;
            ASSERT_TRUE(place.string().starts_with(tree.path())) << place;
            EXPECT_TRUE(places.insert(place).second) << place;
            tree.file(fs::relative(place, tree.path()).string());
        }
        trash->finish(plan);
    }
}

}  // namespace
}  // namespace vestigo
