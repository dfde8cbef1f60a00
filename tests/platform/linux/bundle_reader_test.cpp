#include <cerrno>

#include <sys/syscall.h>

#include "platform/linux/linux_bundle_reader.h"
#include "tests/platform/linux/machine.h"
#include "tests/support/test.h"

namespace vestigo::test {
namespace {

namespace fs = std::filesystem;

std::string plist(const std::string& entries) {
    return R"(<plist version="1.0"><dict>)" + entries + "</dict></plist>";
}

struct LinuxBundleReaderTest : testing::Test {
    /// Where the bundle with this Info.plist has its executable, below the tree; "" for none.
    std::string executable(const std::string& infoPlist, const std::string& name) {
        tree.file(infoPlist, plist("<key>CFBundleExecutable</key><string>" + name + "</string>"));
        const auto bundle = tree.at(infoPlist.substr(0, infoPlist.find('/')));
        const auto found = LinuxBundleReader().read(bundle).value().executable;
        return found ? found->substr(tree.path().size() + 1) : "";
    }
    void link(const std::string& destination, const std::string& path) {
        fs::create_symlink(destination, tree.at(path));
    }

    TemporaryTree tree;
};

TEST_F(LinuxBundleReaderTest, FindsTheExecutableInUnusualLayouts) {
    // The Finder leaves its own files everywhere.
    tree.file("Tool.framework/Versions/.DS_Store");
    tree.folder("Tool.framework/Versions/A");
    tree.file("Tool.framework/Versions/B/Lib");
    EXPECT_EQ(executable("Tool.framework/Versions/B/Resources/Info.plist", "Lib"),
              "Tool.framework/Versions/B/Lib");
    tree.file("Flat.bundle/Plug");
    EXPECT_EQ(executable("Flat.bundle/Info.plist", "Plug"), "Flat.bundle/Plug");
    tree.folder("Led.app/Contents");
    link("../../Flat.bundle/Info.plist", "Led.app/Contents/Info.plist");
    EXPECT_FALSE(LinuxBundleReader().read(tree.at("Led.app")));
    fs::resize_file(tree.file("Huge.app/Contents/Info.plist"), std::uintmax_t{1} << 42U);
    EXPECT_FALSE(LinuxBundleReader().read(tree.at("Huge.app")));
}

TEST_F(LinuxBundleReaderTest, FollowsLinksInsideTheBundleOnlyOnEveryKernel) {
    const std::string folder = "Tool.app/Contents/MacOS/";
    const auto outside = tree.file("outside");
    tree.file(folder + "Tool");
    tree.folder(folder + "Folder");
    link("Round/Tool", folder + "In");
    link("../MacOS//./", folder + "Round");
    link("../../../outside", folder + "Out");
    link("../../..", folder + "Up");
    link(tree.at(folder + "Tool"), folder + "Absolute");
    link("Loop", folder + "Loop");
    const auto check = [&] {
        const auto found = [&](const std::string& name) {
            return executable("Tool.app/Contents/Info.plist", name);
        };
        for (const std::string name : {"Tool", "In", "Round/Tool", "Round/In"}) {
            EXPECT_EQ(found(name), folder + name);
        }
        for (const std::string name :
             {"Folder", "../Info.plist", "../../../outside", "Folder/../../../../outside", "Out",
              "Up", "Up/outside", "Absolute", "Loop", "Loop/Tool", "missing", "Tool/none"}) {
            EXPECT_EQ(found(name), "") << name;
        }
        EXPECT_EQ(found(outside), "");
    };
    check();
    for (const int error : {ENOSYS, EPERM}) whereCallsFail({SYS_openat2}, error, check);
}

std::string bytes(std::size_t number) {
    return bigEndian(number).substr(2);
}

/// A binary property list of these objects, the first of them the top; two bytes per reference.
std::string binaryPlist(const std::vector<std::string>& objects, std::size_t firstOffset = 8) {
    std::string list = "bplist00";
    std::string table;
    for (const auto& object : objects) {
        table += bigEndian(table.empty() ? firstOffset : list.size());
        list += object;
    }
    const auto tableOffset = list.size();
    return list + table + std::string("\0\0\0\0\0\0\4\2", 8) + std::string(4, '\0') +
           bigEndian(objects.size()) + std::string(12, '\0') + bigEndian(tableOffset);
}

std::string nested(std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) text += "<array>";
    for (std::size_t i = 0; i < count; ++i) text += "</array>";
    return plist("<key>a</key>" + text);
}

// Hostile ones overran libplist: deep nesting its recursion, shared containers its unfolding.
TEST(InfoPlistParser, ReadsBinaryListsAndRefusesListsThatAreBuiltToHarm) {
    // A dictionary of one entry, a string of 18 letters, one of 3.
    const std::vector<std::string> objects = {"\xD1" + bytes(1) + bytes(2),
                                              "\137\20\22CFBundleIdentifier", "\123a.b"};
    EXPECT_EQ(parseInfoPlist(binaryPlist(objects)).value().identifier, "a.b");
    EXPECT_TRUE(parseInfoPlist("\xEF\xBB\xBF" + plist("")));
    EXPECT_TRUE(parseInfoPlist(nested(100)));

    std::vector<std::string> shared;
    std::vector<std::string> deep;
    for (std::size_t i = 1; i <= 600; ++i) {
        deep.push_back("\xD1" + bytes(600) + bytes(i));
        if (i <= 40) shared.push_back("\xA2" + bytes(i) + bytes(i));
    }
    deep.emplace_back("\121a");
    shared.emplace_back("\121a");
    const std::vector<std::string> lists = {
        "",
        nested(20'000),
        binaryPlist(shared),
        binaryPlist(deep),
        binaryPlist({"\xA1" + bytes(0)}),                           // Holds itself.
        binaryPlist({"\xAF\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"}),  // More than can be counted.
        binaryPlist({std::string("\xDF\x11\x10\0", 4)}),            // More than there are.
        binaryPlist(objects, 1'000'000),                            // Beyond the end.
    };
    for (const auto& list : lists) EXPECT_EQ(parseInfoPlist(list), std::nullopt);
}

}  // namespace
}  // namespace vestigo::test
