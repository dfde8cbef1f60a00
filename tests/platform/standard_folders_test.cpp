#include "platform/system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

TEST(StandardFolders, AreTheUsersOwnAndFollowTheHomeFolder) {
    const test::TemporaryTree tree;
    const auto home = tree.at("me");
    // Where the environment names a folder for the session, it is used; elsewhere it means nothing.
    const auto session = tree.folder("session");
    std::filesystem::permissions(session, std::filesystem::perms::owner_all);
    ::setenv("XDG_RUNTIME_DIR", session.c_str(), 1);
    ::unsetenv("XDG_DATA_HOME");
    ::setenv("HOME", (home + "//").c_str(), 1);
    const auto folders = systemFolders();
    EXPECT_EQ(folders.home, home);
    EXPECT_EQ(systemHomeFolder(), home);
    EXPECT_TRUE(folders.applicationSupport.starts_with(home + "/"));
    EXPECT_FALSE(std::filesystem::exists(home));
    EXPECT_TRUE(systemFiles()->isPrivateFolder(folders.temporary));
    ::setenv("HOME", "relative", 1);
    EXPECT_TRUE(systemHomeFolder().starts_with('/'));
    ::unsetenv("HOME");
    EXPECT_TRUE(systemHomeFolder().starts_with('/'));
}

}  // namespace
}  // namespace vestigo
