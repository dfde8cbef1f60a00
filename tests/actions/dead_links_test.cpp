#include "actions/dead_links.h"

#include <filesystem>
#include <functional>
#include <string>
#include <utility>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/system.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

/// An installation whose keg of wget has gone.
class DeadLinks : public testing::Test {
protected:
    void link(const std::string& relative, const std::string& destination) {
        fs::create_directories(fs::path(tree_.at(relative)).parent_path());
        fs::create_symlink(destination, tree_.at(relative));
    }
    [[nodiscard]] bool has(const std::string& relative) const {
        return fs::is_symlink(fs::symlink_status(tree_.at(relative)));
    }
    std::size_t clean() { return cleanDeadSymlinks(keg_, links_, files_); }

    test::TemporaryTree tree_;
    std::string keg_ = tree_.at("Cellar/wget");
    std::shared_ptr<Links> linksOfThisSystem_ = systemLinks();
    std::shared_ptr<Files> filesOfThisSystem_ = systemFiles();
    Links& links_ = *linksOfThisSystem_;
    Files& files_ = *filesOfThisSystem_;
};

TEST(StandardizedPath, ResolvesInTheTextAlone) {
    EXPECT_EQ(standardizedPath("/usr/local/bin/../Cellar/wget"), "/usr/local/Cellar/wget");
    EXPECT_EQ(standardizedPath("//usr/./local///x/"), "/usr/local/x");
    EXPECT_EQ(standardizedPath("/a/../../.."), "/");
    EXPECT_EQ(standardizedPath("/a/..b/.c/..."), "/a/..b/.c/...");
}

TEST_F(DeadLinks, GoFromEveryLinkFolderHoweverTheyNameTheKeg) {
    link("bin/wget", "../Cellar/wget/1.21.4/bin/wget");
    link("sbin/absolute", keg_ + "/1.21.4/sbin/wget");
    link("lib/deep/er/.hidden", "../../../lib//./../Cellar/wget/1");
    link("share/\xff\n' link", "../Cellar/wget/\xff");
    link("include/x", "../Cellar/wget/x");
    link("opt/wget", "../Cellar/wget");
    link("libexec/x", "../Cellar/wget/x");
    link("Frameworks/x", "../Cellar/wget/x");
    EXPECT_EQ(clean(), 8U);
    EXPECT_FALSE(has("bin/wget") || has("lib/deep/er/.hidden") || has("opt/wget"));
}

TEST_F(DeadLinks, AreTheOnlyThingThatGoes) {
    tree_.file("Cellar/wget/1/bin/wget", "program");
    tree_.file("bin/file", "../Cellar/wget/gone");
    link("bin/works", "../Cellar/wget/1/bin/wget");
    link("bin/other", "../Cellar/wget2/1/bin/other");
    link("bin/through", "../opt/wget/bin/through");
    link("etc/wget", "../Cellar/wget/2/etc");
    link("bin/gone", "../Cellar/wget/2/bin/wget");
    EXPECT_EQ(clean(), 1U);
    EXPECT_TRUE(has("bin/works") && has("bin/other") && has("bin/through") && has("etc/wget"));
    EXPECT_TRUE(fs::exists(tree_.at("bin/file")));
}

TEST_F(DeadLinks, StayWhenTheyWorkInAWayTheirTextDoesNotShow) {
    // The system resolves ".." at the place the folder's link leads to.
    tree_.file("elsewhere/Cellar/wget/1/wget", "program");
    fs::create_directories(tree_.at("elsewhere/bin"));
    link("bin", "elsewhere/bin");
    link("elsewhere/bin/wget", "../Cellar/wget/1/wget");
    link("elsewhere/bin/gone", "../Cellar/wget/2/wget");
    EXPECT_EQ(clean(), 1U);
    EXPECT_TRUE(has("elsewhere/bin/wget"));
}

TEST_F(DeadLinks, AreNotLookedForThroughLinksToFolders) {
    link("outside/wget", keg_ + "/1");
    link("lib/outside", "../outside");
    link("lib/up", "..");
    link("lib/loop", "loop");
    EXPECT_EQ(clean(), 0U);
    EXPECT_TRUE(has("outside/wget") && has("lib/outside") && has("lib/up") && has("lib/loop"));
}

TEST_F(DeadLinks, StayWhenTheyHaveChangedSinceTheyWereSeen) {
    link("bin/revived", "../Cellar/wget/1");
    link("lib/replaced", "../Cellar/wget/2");
    const auto removeAfter = [this](const std::string& folder,
                                    const std::function<void()>& change) {
        links_.visit(tree_.at(folder), [&](FoundLink& found) {
            change();
            EXPECT_FALSE(found.removeDead());
        });
    };
    removeAfter("bin", [this] { tree_.file("Cellar/wget/1"); });
    removeAfter("lib", [this] {
        fs::remove(tree_.at("lib/replaced"));
        tree_.file("lib/replaced", "precious");
    });
    EXPECT_TRUE(has("bin/revived") && fs::exists(tree_.at("lib/replaced")));
}

TEST_F(DeadLinks, AreFoundBelowAnyNumberOfFolders) {
    constexpr int depth = 200;
    const std::string name(30, 'd');  // Together more than one call takes.
    int at = open(tree_.folder("lib").c_str(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < depth; ++i) {
        ASSERT_EQ(mkdirat(at, name.c_str(), 0700), 0);
        const int below = openat(at, name.c_str(), O_RDONLY | O_DIRECTORY);
        close(std::exchange(at, below));
    }
    EXPECT_EQ(symlinkat((keg_ + "/1").c_str(), at, "wget"), 0);
    close(at);
    link("lib/other/wget", "../../Cellar/wget/1");
    EXPECT_EQ(clean(), 2U);
}

}  // namespace
}  // namespace vestigo
