#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/linux/linux_bundle_reader.h"
#include "platform/system.h"
#include "tests/support/mach_o_maker.h"
#include "tests/support/temporary_tree.h"

namespace vestigo::test {
namespace {

std::string plist(const std::string& entries) {
    return R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)" + entries +
           "</dict></plist>";
}

std::string executableEntry(const std::string& name) {
    return "<key>CFBundleExecutable</key><string>" + name + "</string>";
}

/// A binary property list of these objects, the first of them the top; one byte per reference.
std::string binaryPlist(const std::vector<std::string>& objects) {
    std::string bytes = "bplist00";
    std::string table;
    for (const auto& object : objects) {
        table += bigEndian(static_cast<std::uint32_t>(bytes.size()));
        bytes += object;
    }
    const auto tableOffset = static_cast<std::uint32_t>(bytes.size());
    return bytes + table + std::string("\0\0\0\0\0\0\4\1", 8) + std::string(4, '\0') +
           bigEndian(static_cast<std::uint32_t>(objects.size())) + std::string(12, '\0') +
           bigEndian(tableOffset);
}

class BundleReaderTest : public ::testing::Test {
protected:
    /// The executable's path below the bundle; "none" where it has none.
    std::string executable(const std::string& bundle) {
        const auto path = tree.at(bundle);
        const auto information = reader.read(path);
        if (!information) return "no bundle";
        return information->executable ? information->executable->substr(path.size()) : "none";
    }

    TemporaryTree tree;
    std::shared_ptr<BundleReader> ofThisSystem = systemBundles();
    BundleReader& reader = *ofThisSystem;
};

TEST_F(BundleReaderTest, ReadsXmlAndBinaryLists) {
    const auto xml = plist(
        "<key>CFBundleIdentifier</key><string>com.example.a&amp;b</string>"
        "<key>CFBundleShortVersionString</key><string>1.2</string>");
    tree.file("Xml.app/Contents/Info.plist", xml);
    const auto fromXml = reader.read(tree.at("Xml.app"));
    ASSERT_TRUE(fromXml);
    EXPECT_EQ(fromXml->identifier, "com.example.a&b");
    EXPECT_EQ(fromXml->version, "1.2");
    EXPECT_EQ(fromXml->executable, std::nullopt);

    tree.file("Binary.app/Contents/Info.plist", binaryPlist({"\xD1\x01\x02",
                                                             "\x5F\x10\x12"
                                                             "CFBundleIdentifier",
                                                             "\x53"
                                                             "a.b"}));
    const auto fromBinary = reader.read(tree.at("Binary.app"));
    ASSERT_TRUE(fromBinary);
    EXPECT_EQ(fromBinary->identifier, "a.b");
}

TEST_F(BundleReaderTest, FindsTheExecutableInEveryLayout) {
    tree.file("Example.app/Contents/Info.plist", plist(executableEntry("Tool")));
    tree.file("Example.app/Contents/MacOS/Tool");
    EXPECT_EQ(executable("Example.app"), "/Contents/MacOS/Tool");

    tree.file("Example.framework/Versions/B/Resources/Info.plist", plist(executableEntry("Lib")));
    tree.file("Example.framework/Versions/B/Lib");
    EXPECT_EQ(executable("Example.framework"), "/Versions/B/Lib");
    ASSERT_EQ(symlink("B", tree.at("Example.framework/Versions/Current").c_str()), 0);
    EXPECT_EQ(executable("Example.framework"), "/Versions/Current/Lib");
    EXPECT_EQ(executable("Example.framework/Versions/B"), "/Lib");

    tree.file("Flat.bundle/Info.plist", plist(executableEntry("Plug")));
    tree.file("Flat.bundle/Plug");
    EXPECT_EQ(executable("Flat.bundle"), "/Plug");
}

TEST_F(BundleReaderTest, NamesTheExecutableLikeTheBundleWhenItIsNotNamed) {
    tree.file("My Driver.kext/Contents/Info.plist", plist(""));
    tree.file("My Driver.kext/Contents/MacOS/My Driver");
    EXPECT_EQ(executable("My Driver.kext"), "/Contents/MacOS/My Driver");
}

TEST_F(BundleReaderTest, KeepsTheExecutableInsideTheBundle) {
    tree.file("outside");
    tree.folder("Example.app/Contents/MacOS/Folder");
    for (const auto& name : {std::string("../../../outside"), tree.at("outside"),
                             std::string("Folder/../../../../outside"), std::string("Folder"),
                             std::string("Missing")}) {
        tree.file("Example.app/Contents/Info.plist", plist(executableEntry(name)));
        EXPECT_EQ(executable("Example.app"), "none") << name;
    }
}

TEST_F(BundleReaderTest, IsNoBundleWithoutAReadableInfoPlist) {
    EXPECT_EQ(executable("missing"), "no bundle");
    tree.folder("Empty.app");
    EXPECT_EQ(executable("Empty.app"), "no bundle");
    for (const auto* const content : {"", "junk", "bplist00", "<plist><array/></plist>"}) {
        tree.file("Broken.app/Contents/Info.plist", content);
        EXPECT_EQ(executable("Broken.app"), "no bundle") << content;
    }
}

// Both overran libplist: deep nesting its recursion, shared containers its unfolding.
TEST(InfoPlistParser, RefusesListsThatAreBuiltToHarm) {
    std::string deep;
    for (int i = 0; i < 120'000; ++i) deep += "<array>";
    EXPECT_EQ(parseInfoPlist(plist("<key>a</key>" + deep)), std::nullopt);

    std::vector<std::string> shared;
    for (char i = 1; i <= 40; ++i) shared.push_back({'\xA2', i, i});
    shared.emplace_back(
        "\x51"
        "a");
    EXPECT_EQ(parseInfoPlist(binaryPlist(shared)), std::nullopt);

    EXPECT_EQ(parseInfoPlist(binaryPlist({std::string("\xA1\0", 2)})), std::nullopt);  // Itself.
    EXPECT_EQ(parseInfoPlist(binaryPlist({"\xAF\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"})),
              std::nullopt);
}

}  // namespace
}  // namespace vestigo::test
