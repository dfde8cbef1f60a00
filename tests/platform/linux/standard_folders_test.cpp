#include "platform/linux/linux_system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

TEST(LinuxStandardFolders, FollowTheEnvironmentWhereItIsAbsolute) {
    ::setenv("HOME", "/h/me", 1);
    for (const auto& [data, support] :
         {std::pair("/data//", "/data"), std::pair("relative", "/h/me/.local/share")}) {
        ::setenv("XDG_DATA_HOME", data, 1);
        EXPECT_EQ(linuxStandardFolders("/none").applicationSupport, support);
    }
    for (const auto& [caches, expected] :
         {std::pair("/c", "/c"), std::pair("relative", "/h/me/.cache")}) {
        ::setenv("XDG_CACHE_HOME", caches, 1);
        EXPECT_EQ(linuxStandardFolders("/none").caches, expected);
    }
}

TEST(LinuxStandardFolders, TheTemporaryFolderIsOursAlone) {
    const test::TemporaryTree tree;
    const auto temporary = [&tree] {
        auto path = linuxStandardFolders(tree.path()).temporary;
        EXPECT_EQ(std::filesystem::symlink_status(path).permissions(),
                  std::filesystem::perms{0700});
        return path;
    };
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
    ::chmod(tree.folder("elsewhere").c_str(), 0700);
    std::filesystem::create_symlink("elsewhere", own);
    EXPECT_TRUE(temporary().starts_with(own + "-"));
}

}  // namespace
}  // namespace vestigo
