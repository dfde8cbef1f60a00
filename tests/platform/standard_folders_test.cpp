#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/linux_standard_folders.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

struct StandardFoldersTest : testing::Test {
    test::TemporaryTree tree;
    const char* home = std::getenv("HOME");
    std::string realHome = home ? home : "/";
    std::string own = tree.at("vestigo-" + std::to_string(::getuid()));

    StandardFoldersTest() {
        ::setenv("HOME", "/h/me/", 1);
        ::unsetenv("XDG_DATA_HOME");
        ::unsetenv("XDG_RUNTIME_DIR");
    }
    ~StandardFoldersTest() override { ::setenv("HOME", realHome.c_str(), 1); }
    [[nodiscard]] StandardFolders folders() const { return linuxStandardFolders(tree.path()); }
    /// The temporary folder, which is never another's.
    [[nodiscard]] std::string temporary() const {
        auto path = folders().temporary;
        struct stat status {};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode, mode_t{S_IFDIR | 0700});
        return path;
    }
};

TEST_F(StandardFoldersTest, FollowTheEnvironmentWhereItIsAbsolute) {
    EXPECT_EQ(folders().home, "/h/me");
    EXPECT_EQ(folders().applicationSupport, "/h/me/.local/share");
    ::setenv("XDG_DATA_HOME", "/data//", 1);
    EXPECT_EQ(folders().applicationSupport, "/data");
    ::setenv("XDG_DATA_HOME", "relative", 1);
    ::setenv("HOME", "/", 1);
    EXPECT_EQ(folders().applicationSupport, "/.local/share");
    ::setenv("HOME", "", 1);
    EXPECT_TRUE(folders().home.starts_with('/'));
}

TEST_F(StandardFoldersTest, TheTemporaryFolderIsTheSessionsWhenItIsOursAlone) {
    const auto session = tree.folder("session");
    ::setenv("XDG_RUNTIME_DIR", session.c_str(), 1);
    ::chmod(session.c_str(), 0755);
    EXPECT_EQ(temporary(), own);
    ::chmod(session.c_str(), 0700);
    EXPECT_EQ(temporary(), session);
}

TEST_F(StandardFoldersTest, ATemporaryFolderThatIsNotOursAloneIsNotUsed) {
    const auto elsewhere = tree.folder("elsewhere");
    ::chmod(elsewhere.c_str(), 0700);
    std::filesystem::create_symlink(elsewhere, own);
    EXPECT_TRUE(temporary().starts_with(own + "-"));
    std::filesystem::remove(own);
    tree.folder(std::filesystem::path(own).filename().string());
    ::chmod(own.c_str(), 0770);
    EXPECT_TRUE(temporary().starts_with(own + "-"));
    EXPECT_EQ(linuxStandardFolders(tree.at("none")).temporary, "/h/me/.local/share");
}

}  // namespace
}  // namespace vestigo
