#include "platform/system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

struct BundleReaderTest : testing::Test {
    /// An Info.plist with an identifier and these entries.
    void describe(const std::string& infoPlist, const std::string& entries) const {
        tree.file(infoPlist, R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)"
                             "<key>CFBundleIdentifier</key><string>com.example.a&amp;b</string>" +
                                 entries + "</dict></plist>");
    }
    /// Where the executable really is, below the tree; "none" where the bundle has none.
    [[nodiscard]] std::string executable(const std::string& bundle) const {
        const auto information = reader->read(tree.at(bundle));
        if (!information) return "no bundle";
        if (!information->executable) return "none";
        return fs::canonical(*information->executable).string().substr(tree.at("").size());
    }

    test::TemporaryTree tree;
    std::shared_ptr<BundleReader> reader = systemBundles();
    const std::string tool = "<key>CFBundleExecutable</key><string>Tool</string>";
};

TEST_F(BundleReaderTest, ReadsTheInfoPlistAndFindsTheExecutable) {
    describe("Named.app/Contents/Info.plist",
             tool + "<key>CFBundleShortVersionString</key><string>1.2</string>");
    EXPECT_EQ(executable("Named.app"), "none");
    tree.file("Named.app/Contents/MacOS/Tool");
    EXPECT_EQ(executable("Named.app"), "Named.app/Contents/MacOS/Tool");
    EXPECT_EQ(reader->read(tree.at("Named.app"))->identifier, "com.example.a&b");
    EXPECT_EQ(reader->read(tree.at("Named.app"))->version, "1.2");

    describe("My Driver.kext/Contents/Info.plist", "");
    tree.file("My Driver.kext/Contents/MacOS/My Driver");
    EXPECT_EQ(executable("My Driver.kext"), "My Driver.kext/Contents/MacOS/My Driver");

    describe("Tool.framework/Versions/B/Resources/Info.plist", tool);
    tree.file("Tool.framework/Versions/B/Tool");
    fs::create_symlink("B", tree.at("Tool.framework/Versions/Current"));
    fs::create_symlink("Versions/Current/Resources", tree.at("Tool.framework/Resources"));
    fs::create_symlink("Versions/Current/Tool", tree.at("Tool.framework/Tool"));
    EXPECT_EQ(executable("Tool.framework"), "Tool.framework/Versions/B/Tool");
}

TEST_F(BundleReaderTest, IsNoBundleWithoutAReadableInfoPlist) {
    tree.folder("Empty.app");
    EXPECT_EQ(executable("Empty.app"), "no bundle");
    int number = 0;
    for (const auto* const content : {"", "junk", "bplist00", "<plist><array/></plist>"}) {
        const auto bundle = "Broken" + std::to_string(++number) + ".app";
        tree.file(bundle + "/Contents/Info.plist", content);
        EXPECT_EQ(executable(bundle), "no bundle") << content;
    }
}

}  // namespace
}  // namespace vestigo
