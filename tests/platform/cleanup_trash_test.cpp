#include <filesystem>
#include <set>

#include <gtest/gtest.h>

#include "platform/system.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

std::string placeOf(const CleanupMove& move) {
    return move.folder + "/" + move.newName.value_or(fs::path(move.path).filename().string());
}

TEST(CleanupTrash, HasAFreePlaceForEachItem) {
    const test::TemporaryTree tree;
    const StandardFolders folders{
        .home = tree.path(), .applicationSupport = tree.at("support"), .temporary = {}};
    const auto trash = systemCleanupTrash(folders, systemFiles());
    const std::vector<std::string> paths{"/Library/a", "/Library/b.app", "/Library/x/a"};
    std::set<std::string> places;
    for (int round = 0; round < 2; ++round) {
        const auto plan = trash->plan(paths);
        ASSERT_EQ(plan.error, std::nullopt);
        ASSERT_EQ(plan.moves.size(), paths.size());
        for (std::size_t i = 0; i < paths.size(); ++i) {
            EXPECT_EQ(plan.moves[i].path, paths[i]);
            const auto place = placeOf(plan.moves[i]);
            ASSERT_TRUE(place.starts_with(tree.path())) << place;
            EXPECT_FALSE(fs::exists(place)) << place;
            EXPECT_TRUE(places.insert(place).second) << place;
        }
        EXPECT_EQ(plan.moves[0].newName.has_value(), round == 1);
        for (const auto& move : plan.moves)
            tree.file(fs::relative(placeOf(move), tree.path()).string());
        trash->finish(plan);
    }
}

}  // namespace
}  // namespace vestigo
