#include "actions/dead_links.h"

#include "platform/system.h"
#include "tests/support/test.h"

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
    std::size_t clean() { return cleanDeadSymlinks(keg_, *links_, *files_); }

    test::TemporaryTree tree_;
    std::string keg_ = tree_.at("Cellar/wget");
    std::shared_ptr<Links> links_ = systemLinks();
    std::shared_ptr<Files> files_ = systemFiles();
};

TEST_F(DeadLinks, GoFromEveryLinkFolderHoweverTheyNameTheKeg) {
    link("bin/wget", "../Cellar/wget/1.21.4/bin/wget");
    link("sbin/absolute", keg_ + "/1.21.4/sbin/wget");
    link("lib/deep/er/.hidden", "../../../lib//./../Cellar/wget/1");
    link("share/caf\xc3\xa9\n' link", "../Cellar/wget/\xff");
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
    link("etc/wget", "../Cellar/wget/2/etc");
    link("bin/gone", "../Cellar/wget/2/bin/wget");
    // What is reached through links to folders is somebody else's.
    link("outside/wget", keg_ + "/1");
    link("lib/outside", "../outside");
    link("lib/up", "..");
    link("lib/loop", "loop");
    // Whether this link is dead cannot be known: the system refuses so long a name.
    link("bin/long", "../Cellar/wget/" + std::string(300, 'n'));
    EXPECT_EQ(clean(), 1U);
    for (const auto* stays : {"bin/works", "bin/other", "etc/wget", "outside/wget", "lib/outside",
                              "lib/up", "lib/loop", "bin/long"}) {
        EXPECT_TRUE(has(stays)) << stays;
    }
    EXPECT_TRUE(fs::exists(tree_.at("bin/file")));
}

TEST_F(DeadLinks, StayWhenTheyWorkInAWayTheirTextDoesNotShow) {
    // The system resolves ".." at the place the folder's link leads to.
    tree_.file("elsewhere/Cellar/wget/1/wget", "program");
    tree_.folder("elsewhere/bin");
    link("bin", "elsewhere/bin");
    link("bin/wget", "../Cellar/wget/1/wget");
    link("bin/gone", "../Cellar/wget/2/wget");
    // And where the text names something that is there.
    tree_.file("Cellar/wget/3/wget", "program");
    link("bin/there", "../Cellar/wget/3/wget");
    EXPECT_EQ(clean(), 1U);
    EXPECT_TRUE(has("bin/wget") && has("bin/there"));
}

TEST_F(DeadLinks, StayWhenTheyHaveChangedSinceTheyWereSeen) {
    const auto change = [this](const std::string& folder, const std::function<void()>& happens) {
        link(folder + "/link", "../Cellar/wget/1");
        links_->visit(tree_.at(folder), [&](FoundLink& found) {
            happens();
            EXPECT_FALSE(found.removeDead()) << folder;
        });
        EXPECT_TRUE(has(folder + "/link") || fs::exists(tree_.at(folder + "/link"))) << folder;
    };
    change("sbin", [this] {
        fs::remove(tree_.at("sbin/link"));
        tree_.file("sbin/link", "precious");
    });
    change("lib", [this] {
        fs::remove(tree_.at("lib/link"));
        link("lib/link", "another that is dead");
    });
    change("bin", [this] { tree_.file("Cellar/wget/1"); });
}

}  // namespace
}  // namespace vestigo
