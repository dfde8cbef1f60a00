#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/linux_standard_folders.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

struct LinuxStandardFoldersTest : testing::Test {
    LinuxStandardFoldersTest() {
        ::setenv("HOME", "/h/me", 1);
        ::unsetenv("XDG_DATA_HOME");
    }
    [[nodiscard]] StandardFolders folders() const { return linuxStandardFolders(tree.path()); }
    /// The temporary folder, which is never another's.
    [[nodiscard]] std::string temporary() const {
        auto path = folders().temporary;
        EXPECT_EQ(std::filesystem::symlink_status(path).permissions(),
                  std::filesystem::perms{0700});
        return path;
    }

    test::TemporaryTree tree;
};

TEST_F(LinuxStandardFoldersTest, FollowTheEnvironmentWhereItIsAbsolute) {
    ::setenv("XDG_DATA_HOME", "/data//", 1);
    EXPECT_EQ(folders().applicationSupport, "/data");
    ::setenv("XDG_DATA_HOME", "relative", 1);
    EXPECT_EQ(folders().applicationSupport, "/h/me/.local/share");
    ::setenv("HOME", "/", 1);
    EXPECT_EQ(folders().applicationSupport, "/.local/share");
}

TEST_F(LinuxStandardFoldersTest, TheTemporaryFolderIsOursAlone) {
    const auto session = tree.folder("session");
    const auto own = tree.at("vestigo-" + std::to_string(::getuid()));
    ::setenv("XDG_RUNTIME_DIR", session.c_str(), 1);
    ::chmod(session.c_str(), 0700);
    EXPECT_EQ(temporary(), session);
    ::chmod(session.c_str(), 0755);
    EXPECT_EQ(temporary(), own);
    ::chmod(own.c_str(), 0770);
    EXPECT_TRUE(temporary().starts_with(own + "-"));
    std::filesystem::remove(own);
    std::filesystem::create_symlink(tree.folder("elsewhere"), own);
    ::chmod(tree.at("elsewhere").c_str(), 0700);
    EXPECT_TRUE(temporary().starts_with(own + "-"));
    EXPECT_EQ(linuxStandardFolders(tree.at("none")).temporary, "/h/me/.local/share");
}

}  // namespace
}  // namespace vestigo
