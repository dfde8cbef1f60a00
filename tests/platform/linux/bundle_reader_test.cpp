#include "platform/linux/bundle_folder.h"
#include "platform/linux/linux_bundle_reader.h"
#include "tests/support/test.h"

namespace vestigo::test {
namespace {

namespace fs = std::filesystem;

std::string plist(const std::string& entries) {
    return R"(<plist version="1.0"><dict>)" + entries + "</dict></plist>";
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

TEST(LinuxBundleReader, FindsTheExecutableInUnusualLayoutsAndOnlyInsideTheBundle) {
    const TemporaryTree tree;
    const auto executable = [&tree](const std::string& infoPlist, const std::string& name) {
        tree.file(infoPlist, plist("<key>CFBundleExecutable</key><string>" + name + "</string>"));
        const auto bundle = tree.at(infoPlist.substr(0, infoPlist.find('/')));
        return LinuxBundleReader().read(bundle).value().executable;
    };
    const auto library = tree.file("Tool.framework/Versions/B/Lib");
    EXPECT_EQ(executable("Tool.framework/Versions/B/Resources/Info.plist", "Lib"), library);
    const auto plugIn = tree.file("Flat.bundle/Plug");
    EXPECT_EQ(executable("Flat.bundle/Info.plist", "Plug"), plugIn);

    tree.folder("Tool.app/Contents/MacOS/Folder");
    const auto outside = tree.file("outside");
    for (const auto* const way : {"../../../outside", "Folder/../../../../outside"}) {
        EXPECT_EQ(executable("Tool.app/Contents/Info.plist", way), std::nullopt) << way;
    }
    EXPECT_EQ(executable("Tool.app/Contents/Info.plist", outside), std::nullopt);
    fs::create_symlink("../../../outside", tree.at("Tool.app/Contents/MacOS/Out"));
    fs::create_directory_symlink(tree.path(), tree.at("Tool.app/Contents/MacOS/Up"));
    for (const auto* const link : {"Out", "Up/outside"}) {
        EXPECT_EQ(executable("Tool.app/Contents/Info.plist", link), std::nullopt) << link;
    }
    fs::create_symlink("../Tool", tree.at("Tool.app/Contents/MacOS/In"));
    tree.file("Tool.app/Contents/Tool");
    EXPECT_EQ(executable("Tool.app/Contents/Info.plist", "In"),
              tree.at("Tool.app/Contents/MacOS/In"));

    // The Finder leaves its own files everywhere.
    tree.file("Tool.framework/Versions/.DS_Store");
    tree.folder("Tool.framework/Versions/A");
    EXPECT_EQ(executable("Tool.framework/Versions/B/Resources/Info.plist", "Lib"), library);
    tree.folder("Led.app/Contents");
    fs::create_symlink("../../Tool.app/Contents/Info.plist",
                       tree.at("Led.app/Contents/Info.plist"));
    EXPECT_FALSE(LinuxBundleReader().read(tree.at("Led.app")));
}

TEST(BundleFolder, FollowsTheSameLinksWhereTheKernelCannotSaySo) {
    const TemporaryTree tree;
    tree.file("outside");
    tree.file("Tool.framework/Versions/B/Tool");
    const auto link = [&tree](const std::string& destination, const std::string& name) {
        fs::create_symlink(destination, tree.at("Tool.framework/" + name));
    };
    link("B", "Versions/Current");
    link("Versions/Current/./Tool", "Tool");
    link("../Versions//Current/", "Versions/Round");
    link("../outside", "Out");
    link("..", "Up");
    link(tree.at("Tool.framework/Tool"), "Absolute");
    link("Loop", "Loop");
    const auto bundle = BundleFolder::open(tree.at("Tool.framework")).value();
    const Descriptor folder(::open(tree.at("Tool.framework").c_str(), O_PATH | O_DIRECTORY));
    for (const std::string path :
         {"Tool", "Versions/Current/Tool", "Versions/Round/Tool", "Versions/../Tool", "Out", "Up",
          "Up/outside", "Absolute", "Loop", "Loop/Tool", "Versions/../../outside", "missing",
          "Tool/none", "/etc/passwd"}) {
        const auto opened = openBeneathStepwise(folder.get(), path, O_PATH);
        struct stat status {};
        const bool isFile =
            opened && ::fstat(opened.get(), &status) == 0 && S_ISREG(status.st_mode);
        EXPECT_EQ(isFile, bundle.holdsFile(path)) << path;
        EXPECT_EQ(isFile, path.ends_with("Tool") && path != "Loop/Tool") << path;
    }
    EXPECT_EQ(bundle.names("Versions/Round"), bundle.names("Versions/B"));
    EXPECT_TRUE(openBeneathStepwise(folder.get(), "Versions/Round", O_PATH | O_DIRECTORY));
}

// Hostile ones overran libplist: deep nesting its recursion, shared containers its unfolding.
TEST(InfoPlistParser, ReadsBinaryListsAndRefusesListsThatAreBuiltToHarm) {
    // A dictionary of one entry, a string of 18 letters, one of 3.
    const auto info =
        parseInfoPlist(binaryPlist({"\xD1\1\2", "\137\20\22CFBundleIdentifier", "\123a.b"}));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->identifier, "a.b");

    EXPECT_TRUE(parseInfoPlist("\xEF\xBB\xBF" + plist("")));
    std::string deep;
    for (int i = 0; i < 120'000; ++i) deep += "<array>";
    std::vector<std::string> shared;
    for (char i = 1; i <= 40; ++i) shared.push_back({'\xA2', i, i});
    shared.emplace_back("\121a");
    const std::string ofItself("\xA1\0", 2);
    const std::string ofCountlessObjects = "\xAF\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF";
    for (const auto& list : {std::string(), plist("<key>a</key>" + deep), binaryPlist(shared),
                             binaryPlist({ofItself}), binaryPlist({ofCountlessObjects})}) {
        EXPECT_EQ(parseInfoPlist(list), std::nullopt);
    }
}

}  // namespace
}  // namespace vestigo::test
