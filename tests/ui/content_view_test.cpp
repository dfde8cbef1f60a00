#include "ui/content_view.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "platform/posix/posix_files.h"
#include "tests/support/temporary_tree.h"
#include "tests/support/window_fakes.h"

namespace vestigo::test {
namespace {

std::vector<std::string> roots(const VisibleRows& visible) {
    std::vector<std::string> texts;
    for (const auto* const row : visible.rows) texts.push_back(row->root);
    return texts;
}

std::vector<std::string> roots(const std::vector<const BundleGroup*>& groups) {
    return roots(VisibleRows{{}, groups});
}

using Paths = std::vector<std::string>;

TEST(ContentView, ShowsTheSavedScanByCategoryTextAndKeepsTheScannersOrderWithin) {
    WindowFixture window;
    for (const auto* const path :
         {"/Library/Audio/Plug-Ins/VST/P.vst/x", "/Applications/Zed.app/z", "/opt/other/thing",
          "/usr/local/bin/tool", "/Applications/Alpha.app/a"}) {
        window.found(path);
    }
    auto& content = window.content();
    EXPECT_EQ(roots(content.visibleRows()),
              (Paths{"/Applications/Zed.app", "/Applications/Alpha.app", "/usr/local/bin/tool",
                     "/opt/other/thing", "/Library/Audio/Plug-Ins/VST/P.vst"}));
    EXPECT_EQ(content.groupCount(), 5U);
    EXPECT_EQ(content.hitCount(), 5U);
}

TEST(ContentView, SortsByEveryKeyInTheOrderOfCodePointsAndNumbers) {
    WindowFixture window;
    window.found("/Applications/b.app/1", {"x86_64"}, 50);
    window.found("/Applications/b.app/2", {"i386"}, 60);
    window.found("/Applications/Z.app/1", {"ppc"});
    window.found("/Applications/\xC3\xA9.app/1", {"x86_64"}, 7);
    window.found("/usr/local/Cellar/wget/1.0/bin/wget", {"x86_64"}, 900);
    auto& content = window.content();
    const auto sorted = [&content](SortKey key, bool descending) {
        content.setSortOrder({{key, descending}});
        return roots(content.visibleRows());
    };
    const std::string b = "/Applications/b.app";
    const std::string z = "/Applications/Z.app";
    const std::string e = "/Applications/\xC3\xA9.app";
    const std::string wget = "/usr/local/Cellar/wget/1.0/bin/wget";
    EXPECT_EQ(sorted(SortKey::name, false), (Paths{z, b, wget, e}));
    EXPECT_EQ(sorted(SortKey::root, true), (Paths{wget, e, b, z}));
    EXPECT_EQ(sorted(SortKey::created, false), (Paths{z, e, b, wget}));
    EXPECT_EQ(sorted(SortKey::legacyCount, false), (Paths{z, e, wget, b}));
    EXPECT_EQ(sorted(SortKey::cpuSummary, false), (Paths{b, z, e, wget}));
    EXPECT_EQ(sorted(SortKey::fixRank, false), (Paths{wget, b, z, e}));
    // Turned round, equals still keep the Scanner's order.
    EXPECT_EQ(sorted(SortKey::fixRank, true), (Paths{b, z, e, wget}));
    content.setSortOrder({});
    EXPECT_EQ(roots(content.visibleRows()), (Paths{b, z, e, wget}));
}

TEST(ContentView, SortsTextsThatDifferOnlyFarBehindACommonStart) {
    WindowFixture window;
    Paths expected;
    for (const auto* const name :
         {"", "\x01", "0", "0000000", "00000000", "00000000b", "a", "ab"}) {
        expected.push_back(std::string("/usr/local/bin/common-start") + name);
    }
    auto shuffled = expected;
    std::ranges::reverse(shuffled);
    std::ranges::swap(shuffled[1], shuffled[5]);
    for (const auto& path : shuffled) window.found(path);
    window.content().setSortOrder({{SortKey::root, false}});
    EXPECT_EQ(roots(window.content().visibleRows()), expected);
}

TEST(ContentView, AHeaderClickMakesItsKeyPrimaryThenTurnsItAndKeepsEarlierOnesBehind) {
    WindowFixture window;
    auto& content = window.content();
    content.sortBy(SortKey::name);
    content.sortBy(SortKey::fixRank);
    content.sortBy(SortKey::fixRank);
    using Order = std::vector<SortComparator>;
    EXPECT_EQ(
        content.sortOrder(),
        (Order{{SortKey::fixRank, true}, {SortKey::name, false}, {SortKey::categoryName, false}}));
    content.sortBy(SortKey::name);
    EXPECT_EQ(
        content.sortOrder(),
        (Order{{SortKey::name, false}, {SortKey::fixRank, true}, {SortKey::categoryName, false}}));
}

TEST(ContentView, FiltersTogetherAndCountsOverEverything) {
    WindowFixture window;
    window.found("/Applications/A.app/a");
    window.found("/opt/local/bin/port", {"i386"});
    window.found("/usr/local/Cellar/wget/1.0/bin/wget");
    auto& content = window.content();
    content.setFixFilter(Fix::homebrew);
    EXPECT_EQ(roots(content.visibleRows()), Paths{"/usr/local/Cellar/wget/1.0/bin/wget"});
    content.setCategoryFilter(Category::application);
    EXPECT_TRUE(content.visibleRows().rows.empty());
    content.setFixFilter({});
    EXPECT_EQ(roots(content.visibleRows()), Paths{"/Applications/A.app"});
    EXPECT_EQ(content.groupCount(), 3U);
    EXPECT_EQ(content.categoryCount(Category::application), 1U);
    EXPECT_EQ(content.categoryCount(Category::driver), 0U);
    EXPECT_EQ(content.fixCount(Fix::macports), 1U);
}

TEST(ContentView, VisibleRowsOutliveTheGroupsTheyCameFrom) {
    WindowFixture window;
    window.found("/Applications/A.app/a");
    const auto visible = window.content().visibleRows();
    window.content().scanner().setIntelOnly(false);
    window.content().scanner().startScan({"/nowhere"});
    EXPECT_EQ(roots(visible), Paths{"/Applications/A.app"});
    window.settle();
}

TEST(ContentView, OnlyWhatMayBeRemovedCountsAsDeletable) {
    WindowFixture window;
    const Paths all{"/Applications/Apple.app", "/Applications/Keep.app", "/Applications/Own.app",
                    "/Applications/Unread.app", "/usr/libexec/helper"};
    window.found("/Applications/Apple.app/a");
    window.found("/Applications/Keep.app/a");
    window.found("/Applications/Keep.app/b", {"x86_64", "arm64"});
    window.found("/Applications/Own.app/a");
    window.found("/Applications/Unread.app/a");
    window.found("/usr/libexec/helper");
    window.signedBy("/Applications/Apple.app", "Apple", true);
    window.signedBy("/Applications/Own.app", "Own");
    auto& content = window.content();
    content.setSelection({all.begin(), all.end()});
    EXPECT_FALSE(content.selection().contains("/Applications/Apple.app"));
    EXPECT_EQ(content.selection().size(), 4U);
    EXPECT_EQ(roots(content.deletableSelection()),
              (Paths{"/Applications/Own.app", "/Applications/Unread.app"}));

    // A filter hides rows, it does not let go of them; what is gone from the findings is ignored.
    content.setCategoryFilter(Category::driver);
    content.setSelection({"/Applications/Own.app", "/Applications/Gone.app"});
    EXPECT_EQ(roots(content.deletableSelection()), Paths{"/Applications/Own.app"});
}

TEST(ContentView, ASignatureThatArrivesLateTakesItsRowOutOfTheSelection) {
    WindowFixture window;
    window.found("/Applications/A.app/a");
    auto services = window.services();
    services.scanner.inspect = [](const std::string&) { return SignInfo{true, "Apple"}; };
    ContentView content(std::move(services));
    content.setSelection({"/Applications/A.app"});
    EXPECT_EQ(content.deletableSelection().size(), 1U);
    window.settle();
    EXPECT_TRUE(content.selection().empty());
}

TEST(ContentView, AsksBeforeRemovingAndOnlyForWhatCanBeRemoved) {
    WindowFixture window;
    window.found("/Applications/Own.app/a");
    window.found("/usr/libexec/helper");
    auto& content = window.content();
    content.requestDeleteOfSelection();
    content.setSelection({"/Applications/Own.app"});
    content.requestDeleteOfRow(*content.groupWithRoot("/usr/libexec/helper"));
    EXPECT_EQ(content.selection(), RootSet{"/usr/libexec/helper"});
    content.requestDeleteOfSelection();
    EXPECT_FALSE(content.showDeleteConfirm());
    content.requestDeleteOfRow(*content.groupWithRoot("/Applications/Own.app"));
    EXPECT_TRUE(content.showDeleteConfirm());
    content.cancelDelete();
    content.requestDeleteOfSelection();
    EXPECT_TRUE(content.showDeleteConfirm());
}

TEST(ContentView, ScansTheChosenFolderElseTheScope) {
    WindowFixture window;
    auto& content = window.content();
    EXPECT_EQ(content.scanRoots().size(), 11U);
    EXPECT_EQ(content.scanRoots()[1], "/Users/me/Applications");
    content.setScope(Scope::deep);
    EXPECT_EQ(content.scanRoots(), Paths{"/"});
    content.chooseFolder("/Volumes/Backup");
    EXPECT_EQ(content.scanRoots(), Paths{"/Volumes/Backup"});
    content.scanPressed();
    EXPECT_TRUE(content.scanner().scanning());
    window.settle();
    EXPECT_EQ(content.scanner().lastRoots(), Paths{"/Volumes/Backup"});
    content.clearFolder();
    EXPECT_EQ(content.scanRoots(), Paths{"/"});
}

TEST(ContentView, OnlyARowsOwnButtonMarksItsPathAsCopied) {
    WindowFixture window;
    auto& content = window.content();
    content.copyPath("/a", false);
    EXPECT_FALSE(content.copiedPath());
    content.copyPath("/b", true);
    content.copyPath("/c", false);
    EXPECT_EQ(content.copiedPath(), "/b");
    EXPECT_EQ(window.desktop->clipboard, "/c");
}

TEST(ContentView, ExportsAllGroupsWhereTheUserSaysAndNothingWhenCancelled) {
    WindowFixture window;
    const TemporaryTree tree;
    window.found("/Applications/A.app/a");
    auto& content = window.content();
    content.setCategoryFilter(Category::driver);
    content.exportCSV();
    EXPECT_EQ(window.desktop->proposedName, "vestigo-binaries.csv");
    window.desktop->csvFile = tree.path() + "/no-such-folder/x.csv";
    content.exportCSV();
    window.desktop->csvFile = tree.path() + "/x.csv";
    content.exportCSV();
    EXPECT_EQ(PosixFiles().read(tree.path() + "/x.csv"),
              "category,bundle,vendor,fix,cpu,apple_signed,created,legacy_count,path\n"
              "\"App\",\"A.app\",\"\",Manual,\"x86_64\",false,,1,\"/Applications/A.app\"\n");
}

TEST(ContentView, TheDisclaimerComesBackUntilItIsAccepted) {
    WindowFixture window;
    window.preferences->values.clear();
    ContentView first(window.services());
    first.windowAppeared();
    EXPECT_TRUE(first.showDisclaimer());
    first.quit();
    EXPECT_TRUE(window.terminated);
    EXPECT_TRUE(window.preferences->values.empty());
    first.acceptDisclaimer();
    EXPECT_FALSE(first.showDisclaimer());
    ContentView second(window.services());
    second.windowAppeared();
    EXPECT_FALSE(second.showDisclaimer());
}

TEST(ContentView, NotificationsAndSettingsReachEveryWindow) {
    WindowFixture window;
    ContentView first(window.services());
    ContentView second(window.services());
    std::vector<ContentField> heard;
    const auto hearing = second.subscribe([&](ContentField field) { heard.push_back(field); });
    window.notifications->post("vgShowHelp");
    EXPECT_TRUE(first.showHelp() && second.showHelp());
    window.notifications->post("vgShowAbout");
    EXPECT_TRUE(first.showAbout() && second.showAbout());
    first.setFontDelta(8);
    EXPECT_EQ(heard, (std::vector{ContentField::showHelp, ContentField::showAbout,
                                  ContentField::fontDelta}));
    EXPECT_EQ(second.tableFontSize(), 21);
    EXPECT_NEAR(second.columnWidth(34), 58.22, 0.005);
    window.preferences->values["TM_fontDelta"] = 5;
    EXPECT_EQ(second.tableFontSize(), 13);
    EXPECT_NEAR(second.columnWidth(94), 99.64, 0.005);
}

}  // namespace
}  // namespace vestigo::test
