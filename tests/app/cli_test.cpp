#include "cli/scan_folders.h"
#include "cli/scan_options.h"
#include "cli/scan_session.h"
#include "cli/terminal_output.h"
#include "persist/scan_file_reader.h"
#include "platform/posix/thread_tasks.h"
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
    EXPECT_EQ(options({"--previous=x=y", "--cache", "c"}).previous, "x=y");
    EXPECT_EQ(options({"--cache", "c"}).cache, "c");
    for (const Arguments& wrong : {Arguments{"--all-users", "a"},
                                   {"--previous", "a", "--previous=b"},
                                   {"--wrong"},
                                   {""},
                                   {"a", "--previous"},
                                   {"--cache=", "a"}}) {
        EXPECT_TRUE(std::holds_alternative<WrongUsage>(parseScanOptions(wrong))) << wrong[0];
    }
    std::istringstream help(std::get<PrintText>(parseScanOptions(Arguments{"-h"})).text);
    for (std::string line; std::getline(help, line);) EXPECT_LT(line.size(), 80U) << line;
}

TEST(AbsoluteLexically, WorksOnTheTextAlone) {
    EXPECT_EQ(absoluteLexically("../x/./y//", "/a/b"), "/a/x/y");
    EXPECT_EQ(absoluteLexically("../../..", "/a"), "/");
    EXPECT_EQ(absoluteLexically("\xFF\n", "/a"), "/a/\xFF\n");
}

std::vector<std::string> rootsFor(const ScanOptions& options) {
    return scanFolders(options, *systemDirectoryReader(), *systemFiles()).roots;
}

TEST(ScanFolders, AreWalkedOnceAndAlsoWhereAWalkDoesNotComeByItself) {
    const test::TemporaryTree tree;
    for (const auto* const folder : {"bin", "bin2", ".hidden/in", "Caches/in"}) tree.folder(folder);
    std::filesystem::create_symlink("bin", tree.at("link"));
    const std::pair<Arguments, Arguments> cases[] = {
        {{"bin2/../bin", "link", ".", "bin2", ""}, {"."}},
        {{"link", "bin"}, {"link"}},
        {{"bin", "link"}, {"bin"}},
        {{"bin", "bin/", "bin2"}, {"bin", "bin2"}},
        {{".", ".hidden", ".hidden/in"}, {".", ".hidden"}},
        {{"Caches", ".", "Caches/in"}, {"Caches", "."}},
    };
    for (const auto& [named, walked] : cases) {
        ScanOptions options;
        for (const auto& name : named) options.folders.push_back(tree.at(name));
        Arguments expected;
        for (const auto& name : walked)
            expected.push_back(name == "." ? tree.path() : tree.at(name));
        EXPECT_EQ(rootsFor(options), expected) << named[0];
    }
}

TEST(ScanFolders, HaveThoseOfAllHomesInTheirPlaceEachOnce) {
    const test::TemporaryTree tree;
    ASSERT_EQ(::setenv("HOME", tree.path().c_str(), 1), 0);
    ScanOptions options;
    const auto ofOne = rootsFor(options);
    options.allUsers = true;
    const auto ofAll = rootsFor(options);
    // Root's are among them.
    EXPECT_GE(ofAll.size(), ofOne.size() + 2);
    EXPECT_EQ(std::set(ofAll.begin(), ofAll.end()).size(), ofAll.size());
    const auto at = [&](const std::string& folder) { return std::ranges::find(ofAll, folder); };
    EXPECT_LT(at("/Applications"), at(tree.at("Applications")));
    EXPECT_LT(at(tree.at("Applications")), at("/Library"));
    EXPECT_LT(at(tree.at("Library")), at("/usr/local"));
}

TEST(ScanSession, HasWhatWasFoundAndTheVendorsKnownByThenWhenInterrupted) {
    const test::TemporaryTree tree;
    for (int i = 0; i < 200; ++i) tree.file(std::to_string(i), test::thinMachO(test::cpuI386));
    bool interrupted = false;
    const auto vendor = [](const std::string&) { return SignInfo{false, "Vendor"}; };
    ScanSession session({.loop = std::make_shared<RunLoop>(),
                         .background = std::make_shared<ThreadTasks>(),
                         .reader = systemDirectoryReader(),
                         .inspect = vendor},
                        {});
    const auto watching = session.scanner().subscribe([&](ScannerField field) {
        if (field == ScannerField::signatures) interrupted = true;
    });
    session.run({tree.path()}, true, false, interrupted);
    const auto record = decodeScanFile(session.json().value()).value();
    EXPECT_EQ(record.hits.size(), 200U);
    EXPECT_EQ(record.signatures->size(), 40U);
}

TEST(ProgressText, FitsTheLineAndHoldsNothingHarmful) {
    const std::tuple<const char*, std::size_t, const char*> cases[] = {
        {"/a/b", 40, "1000 files  /a/b"},
        {"/abcdefghij", 20, "1000 files  …efghij"},
        {"/\x1B[2J\xFF\n\xC2\x9B\xC3\xA9", 40, "1000 files  /?[2J???é"},
        {"/abc", 5, "1000"},
        // Two columns each; half of one is not shown.
        {"/日本語e\u0301x", 18, "1000 files  …語e\u0301x"},
        {"/日本語", 20, "1000 files  /日本語"},
        {"/日本語", 19, "1000 files  …本語"},
    };
    for (const auto& [path, columns, text] : cases) {
        EXPECT_EQ(progressText(1000, path, columns), text);
    }
}

TEST(EscapedForTerminal, LeavesNoNameToDriveIt) {
    EXPECT_EQ(escapedForTerminal("a,b\n\"x\ny\x1B]0;t\x07\u009B\x7F\x9B\xFFé\u202Ex\"\n"),
              "a,b\n\"x\\u000Ay\\u001B]0;t\\u0007\\u009B\\u007F\\x9B\\xFFé\\u202Ex\"\n");
}

}  // namespace
}  // namespace vestigo
