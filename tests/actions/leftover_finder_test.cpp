#include "actions/leftover_finder.h"

#include "platform/posix/posix_files.h"
#include "platform/system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

using Paths = std::vector<std::string>;

struct LeftoverFinderTest : testing::Test {
    std::string application(const std::string& relative, const std::string& identifier) {
        tree.file(relative + "/Contents/Info.plist",
                  "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>" +
                      identifier + "</string></dict></plist>");
        return tree.at(relative);
    }
    std::vector<Leftover> find(const Paths& roots) {
        std::vector<BundleGroup> groups;
        for (const auto& root : roots) groups.push_back({.root = root, .hits = {}});
        std::vector<const BundleGroup*> pointers;
        for (const auto& group : groups) pointers.push_back(&group);
        return findLeftovers(pointers, {tree.at("home"), tree.at("Library")}, *bundles, files);
    }
    /// Relative to the tree.
    Paths pathsFor(const Paths& roots) {
        Paths paths;
        for (const auto& found : find(roots)) {
            paths.push_back(found.path.substr(tree.path().size() + 1));
        }
        return paths;
    }

    test::TemporaryTree tree;
    std::shared_ptr<BundleReader> bundles = systemBundles();
    PosixFiles files;
};

TEST_F(LeftoverFinderTest, FindsEveryPlaceOnceInItsOrderWithItsFlags) {
    const Paths places{
        "home/Library/Preferences/com.example.app.plist",
        "home/Library/Containers/com.example.app/",
        "home/Library/Caches/com.example.app/",
        "home/Library/HTTPStorages/com.example.app/",
        "home/Library/HTTPStorages/com.example.app.binarycookies",
        "home/Library/Saved Application State/com.example.app.savedState/",
        "home/Library/WebKit/com.example.app/",
        "home/Library/Application Scripts/com.example.app/",
        "home/Library/Preferences/ByHost/com.example.app.0F1E2D3C.plist",
        "home/Library/LaunchAgents/com.example.apps.plist",
        "Library/LaunchAgents/com.example.app.plist",
        "Library/LaunchDaemons/com.example.app.helper.plist",
        "Library/PrivilegedHelperTools/com.example.app-tool",
        "home/Library/Application Support/Foo Bar.beta/",
        "home/Library/Logs/Foo Bar.beta",
        // Near misses.
        "home/Library/Preferences/ByHost/com.example.apphelper.plist",
        "home/Library/LaunchAgents/com.example.app.plist.bak",
        "home/Library/LaunchAgents/Com.example.app.plist",
        "Library/LaunchDaemons/com.example.ap.plist",
        "Library/LaunchDaemons/com.example.aqq.plist",
        "home/Library/PrivilegedHelperTools/com.example.app",
        "Library/Caches/com.example.app",
        "home/Library/Logs/Foo Bar",
    };
    for (const auto& place : places) {
        place.ends_with('/') ? tree.folder(place) : tree.file(place);
    }
    const auto copy = application("copy/Foo Bar.beta.app", "com.example.app");
    const auto found = find({application("Foo Bar.beta.app", "com.example.app"), copy});
    ASSERT_EQ(found.size(), 15U);
    for (std::size_t i = 0; i < found.size(); ++i) {
        const bool fuzzy = i >= 13;
        const bool system = i >= 10 && !fuzzy;
        const auto path = tree.at(places[i].substr(0, places[i].find_last_not_of('/') + 1));
        EXPECT_EQ(found[i], (Leftover{path, fuzzy, system, !fuzzy})) << i;
    }
}

TEST_F(LeftoverFinderTest, TicksNothingForAnIdentifierOfOneWord) {
    const Paths others{"home/Library/Preferences/com.plist",
                       "home/Library/Preferences/ByHost/com.other.0F1E2D3C.plist",
                       "home/Library/LaunchAgents/com.other.plist",
                       "Library/LaunchDaemons/com.other.plist",
                       "Library/PrivilegedHelperTools/com.other"};
    for (const auto& other : others) tree.file(other);
    const auto found = find({application("Foo.app", "com")});
    ASSERT_EQ(found.size(), 5U);
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_EQ(found[i], (Leftover{tree.at(others[i]), true, i >= 3, false})) << i;
    }
    for (const auto* other : {"com.", ".com"}) {
        tree.file(std::string("home/Library/Preferences/") + other + ".plist");
        for (const auto& leftover : find({application("Bar.app", other)})) {
            EXPECT_FALSE(leftover.on) << leftover.path;
        }
    }
}

TEST_F(LeftoverFinderTest, SearchesByNameWhatHasNoUsableIdentifier) {
    tree.folder("home/Library/Application Support/Foo");
    for (const auto* folder : {"Documents", "Containers", "Caches"}) {
        tree.folder(std::string("home/Library/") + folder);
    }
    tree.file("Library/LaunchDaemons/any.plist");
    const auto byName = Paths{"home/Library/Application Support/Foo"};
    for (const auto* identifier : {"", ".", "..", "../Documents", "/"}) {
        EXPECT_EQ(pathsFor({application("Foo.app", identifier)}), byName) << identifier;
    }
    EXPECT_EQ(pathsFor({tree.folder("bare/Foo.app")}), byName);
    EXPECT_EQ(pathsFor({tree.at("gone/Foo.app")}), byName);
}

TEST_F(LeftoverFinderTest, NeverOffersAWholeFolderOfTheLibraryNorWhatIsOfNoApplication) {
    tree.folder("home/Library/Application Support");
    tree.folder("home/Library/Logs/.app");
    tree.folder("home/Library/Logs/Foo");
    EXPECT_EQ(pathsFor({tree.at("..app"), tree.at("...app"), tree.at(".app"),
                        application("Foo.bundle", "a"), tree.at("Foo.app/Contents/MacOS/Foo")}),
              Paths{"home/Library/Logs/.app"});
}

}  // namespace
}  // namespace vestigo
