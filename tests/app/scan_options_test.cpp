#include "cli/scan_options.h"

#include "cli/scan_folders.h"
#include "cli/terminal_output.h"
#include "platform/system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

using Arguments = std::vector<std::string>;

TEST(ScanOptions, TakesFoldersAndOptionsInAnyOrder) {
    const auto options = [](const Arguments& arguments) {
        return std::get<ScanOptions>(parseScanOptions(arguments));
    };
    const auto parsed = options(
        {"a", "--json", "--all", "--no-signatures", "--previous", "-p", "b", "--", "--all"});
    EXPECT_EQ(parsed.folders, (Arguments{"a", "b", "--all"}));
    EXPECT_TRUE(parsed.json && parsed.all && !parsed.signatures);
    EXPECT_EQ(parsed.previous, "-p");
    EXPECT_EQ(options({"--previous=x=y"}).previous, "x=y");
    EXPECT_EQ(options({"--cache", "c"}).cache, "c");
    EXPECT_TRUE(
        std::holds_alternative<WrongUsage>(parseScanOptions(Arguments{"--all-users", "a"})));
    EXPECT_TRUE(std::holds_alternative<WrongUsage>(
        parseScanOptions(Arguments{"--previous", "a", "--previous=b"})));
}

TEST(AbsoluteLexically, WorksOnTheTextAlone) {
    EXPECT_EQ(absoluteLexically("../x/./y//", "/a/b"), "/a/x/y");
    EXPECT_EQ(absoluteLexically("../../..", "/a"), "/");
    EXPECT_EQ(absoluteLexically("\xFF\n", "/a"), "/a/\xFF\n");
}

TEST(HelpText, FitsATerminalOf80Columns) {
    std::istringstream help(std::get<PrintText>(parseScanOptions(Arguments{"-h"})).text);
    for (std::string line; std::getline(help, line);) EXPECT_LT(line.size(), 80U) << line;
}

TEST(ScanFolders, HaveThoseOfAllHomesInTheirPlace) {
    const test::TemporaryTree tree;
    ASSERT_EQ(::setenv("HOME", tree.path().c_str(), 1), 0);
    const auto roots = [](bool allUsers) {
        ScanOptions options;
        options.allUsers = allUsers;
        return scanFolders(options, *systemDirectoryReader(), *systemFiles()).roots;
    };
    const auto ofAll = roots(true);
    // Root's are among them.
    EXPECT_GE(ofAll.size(), roots(false).size() + 2);
    const auto at = [&](const std::string& folder) { return std::ranges::find(ofAll, folder); };
    EXPECT_LT(at("/Applications"), at(tree.at("Applications")));
    EXPECT_LT(at(tree.at("Applications")), at("/Library"));
    EXPECT_LT(at(tree.at("Library")), at("/usr/local"));
}

TEST(ProgressText, FitsTheLineAndHoldsNothingHarmful) {
    EXPECT_EQ(progressText(12000, "/a/b", 40), "12000 files  /a/b");
    EXPECT_EQ(progressText(1000, "/abcdefghij", 20), "1000 files  …efghij");
    EXPECT_EQ(progressText(1000, "/\x1B[2J\xFF\n\xC2\x9B\xC3\xA9", 40), "1000 files  /?[2J???é");
    EXPECT_EQ(progressText(1000, "/abc", 5), "1000");
    // Two columns each; half of one is not shown.
    EXPECT_EQ(progressText(1000, "/日本語e\u0301x", 18), "1000 files  …語e\u0301x");
    EXPECT_EQ(progressText(1000, "/日本語", 20), "1000 files  /日本語");
    EXPECT_EQ(progressText(1000, "/日本語", 19), "1000 files  …本語");
}

TEST(EscapedForTerminal, LeavesNoNameToDriveIt) {
    EXPECT_EQ(escapedForTerminal("a,b\n\"x\ny\x1B]0;t\x07\u009B\x7F\x9B\xFFé\u202Ex\"\n"),
              "a,b\n\"x\\u000Ay\\u001B]0;t\\u0007\\u009B\\u007F\\x9B\\xFFé\\u202Ex\"\n");
}

}  // namespace
}  // namespace vestigo
