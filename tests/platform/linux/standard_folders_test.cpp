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
        ::unsetenv("XDG_RUNTIME_DIR");
    }
    [[nodiscard]] std::string data() const {
        return linuxStandardFolders(tree.path()).applicationSupport;
    }
    /// The temporary folder, which is never another's.
    [[nodiscard]] std::string temporary() const {
        auto path = linuxStandardFolders(tree.path()).temporary;
        struct stat status {};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode, mode_t{S_IFDIR | 0700});
        return path;
    }

    test::TemporaryTree tree;
    std::string own = "vestigo-" + std::to_string(::getuid());
};

TEST_F(LinuxStandardFoldersTest, FollowTheEnvironmentWhereItIsAbsolute) {
    EXPECT_EQ(data(), "/h/me/.local/share");
    ::setenv("XDG_DATA_HOME", "/data//", 1);
    EXPECT_EQ(data(), "/data");
    ::setenv("XDG_DATA_HOME", "relative", 1);
    ::setenv("HOME", "/", 1);
    EXPECT_EQ(data(), "/.local/share");
}

TEST_F(LinuxStandardFoldersTest, TheTemporaryFolderIsOursAlone) {
    const auto session = tree.folder("session");
    ::setenv("XDG_RUNTIME_DIR", session.c_str(), 1);
    ::chmod(session.c_str(), 0700);
    EXPECT_EQ(temporary(), session);
    ::chmod(session.c_str(), 0755);
    EXPECT_EQ(temporary(), tree.at(own));
    ::chmod(tree.at(own).c_str(), 0770);
    EXPECT_TRUE(temporary().starts_with(tree.at(own) + "-"));
    std::filesystem::remove(tree.at(own));
    ::chmod(session.c_str(), 0700);
    std::filesystem::create_symlink(session, tree.at(own));
    ::unsetenv("XDG_RUNTIME_DIR");
    EXPECT_TRUE(temporary().starts_with(tree.at(own) + "-"));
    EXPECT_EQ(linuxStandardFolders(tree.at("none")).temporary, "/h/me/.local/share");
}

}  // namespace
}  // namespace vestigo
