#include "ui/model/content_view.h"

#include "platform/posix/posix_files.h"
#include "tests/support/test.h"
#include "tests/support/window_fakes.h"

namespace vestigo::test {
namespace {

using Paths = std::vector<std::string>;

Paths roots(const std::vector<const BundleGroup*>& groups) {
    Paths texts;
    for (const auto* const group : groups) texts.push_back(group->root);
    return texts;
}

class ContentViewTest : public testing::Test {
protected:
    void found(const Paths& paths) {
        for (const auto& path : paths) window.found(path);
    }
    ContentView& content() { return window.content(); }
    Paths visible() { return roots(content().visibleRows().rows); }
    Paths sorted(std::vector<SortComparator> order) {
        content().setSortOrder(std::move(order));
        return visible();
    }

    WindowFixture window;
};

TEST_F(ContentViewTest, SortsByEveryKeyInTheOrderOfCodePointsAndNumbers) {
    const std::string b = "/Applications/b.app";
    const std::string z = "/Applications/Z.app";
    const std::string e = "/Applications/\xC3\xA9.app";
    const std::string p = "/Library/Audio/Plug-Ins/VST/P.vst";
    const std::string wget = "/usr/local/Cellar/wget/1.0/bin/wget";
    window.found(p + "/x");
    window.found(b + "/1", {"x86_64"}, 50);
    window.found(b + "/2", {"i386"}, 60);
    window.found(z + "/1", {"ppc"});
    window.found(e + "/1", {"x86_64"}, 7);
    window.found(wget, {"x86_64"}, 900);
    EXPECT_EQ(visible(), (Paths{b, z, e, wget, p}));
    EXPECT_EQ(sorted({{SortKey::categoryName, true}}), (Paths{p, wget, b, z, e}));
    EXPECT_EQ(sorted({{SortKey::name, false}}), (Paths{p, z, b, wget, e}));
    EXPECT_EQ(sorted({{SortKey::root, true}}), (Paths{wget, p, e, b, z}));
    EXPECT_EQ(sorted({{SortKey::created, false}}), (Paths{z, p, e, b, wget}));
    EXPECT_EQ(sorted({{SortKey::legacyCount, false}}), (Paths{z, e, wget, p, b}));
    EXPECT_EQ(sorted({{SortKey::cpuSummary, false}}), (Paths{b, z, e, wget, p}));
    EXPECT_EQ(sorted({{SortKey::fixRank, false}}), (Paths{wget, b, z, e, p}));
    // Turned round, equals still keep the Scanner's order.
    EXPECT_EQ(sorted({{SortKey::fixRank, true}}), (Paths{b, z, e, p, wget}));
    EXPECT_EQ(sorted({}), (Paths{b, z, e, wget, p}));
}

TEST_F(ContentViewTest, SortsTextsThatDifferOnlyFarBehindACommonStart) {
    Paths expected;
    for (const auto* const name :
         {"", "\x01", "0", "0000000", "00000000", "00000000b", "a", "ab"}) {
        expected.push_back(std::string("/usr/local/bin/common-start") + name);
    }
    auto shuffled = expected;
    std::ranges::reverse(shuffled);
    std::ranges::swap(shuffled[1], shuffled[5]);
    found(shuffled);
    EXPECT_EQ(sorted({{SortKey::root, false}}), expected);
}

TEST_F(ContentViewTest, AHeaderClickMakesItsKeyPrimaryThenTurnsItAndKeepsEarlierOnesBehind) {
    using Order = std::vector<SortComparator>;
    const SortComparator name{SortKey::name, false};
    const SortComparator category{SortKey::categoryName, false};
    for (const auto key : {SortKey::name, SortKey::fixRank, SortKey::fixRank}) {
        content().sortBy(key);
    }
    EXPECT_EQ(content().sortOrder(), (Order{{SortKey::fixRank, true}, name, category}));
    content().sortBy(SortKey::name);
    EXPECT_EQ(content().sortOrder(), (Order{name, {SortKey::fixRank, true}, category}));
}

TEST_F(ContentViewTest, FiltersTogetherAndCountsOverEverything) {
    found({"/Applications/A.app/a", "/usr/local/Cellar/wget/1.0/bin/wget"});
    content().setFixFilter(Fix::homebrew);
    EXPECT_EQ(visible(), Paths{"/usr/local/Cellar/wget/1.0/bin/wget"});
    content().setCategoryFilter(Category::application);
    EXPECT_EQ(visible(), Paths());
    EXPECT_EQ(content().groupCount(), 2U);
    EXPECT_EQ(content().fixCount(Fix::manual), 1U);
    content().setFixFilter({});
    EXPECT_EQ(visible(), Paths{"/Applications/A.app"});
}

TEST_F(ContentViewTest, VisibleRowsOutliveTheGroupsTheyCameFrom) {
    found({"/Applications/A.app/a"});
    const auto kept = content().visibleRows();
    content().scanner().setIntelOnly(false);
    content().scanner().startScan({"/nowhere"});
    EXPECT_EQ(roots(kept.rows), Paths{"/Applications/A.app"});
    window.settle();
}

TEST_F(ContentViewTest, OnlyWhatMayBeRemovedCountsAsDeletable) {
    const std::string apple = "/Applications/Apple.app";
    const std::string keep = "/Applications/Keep.app";
    const std::string own = "/Applications/Own.app";
    const std::string unread = "/Applications/Unread.app";
    const std::string guarded = "/usr/libexec/helper";
    found({apple + "/a", keep + "/a", own + "/a", unread + "/a", guarded});
    window.found(keep + "/b", {"x86_64", "arm64"});
    window.signedBy(apple, "Apple", true);
    window.signedBy(own, "Own");
    content().setSelection({apple, keep, own, unread, guarded});
    EXPECT_EQ(content().selection(), (RootSet{keep, own, unread, guarded}));
    EXPECT_EQ(roots(content().deletableSelection()), (Paths{own, unread}));

    // A filter hides rows, it does not let go of them; what is gone from the findings is ignored.
    content().setCategoryFilter(Category::driver);
    content().setSelection({own, "/Applications/Gone.app"});
    EXPECT_EQ(roots(content().deletableSelection()), Paths{own});
}

TEST_F(ContentViewTest, ASignatureThatArrivesLateTakesItsRowOutOfTheSelection) {
    found({"/Applications/A.app/a"});
    auto services = window.services();
    services.scanner.inspect = [](const std::string&) { return SignInfo{true, "Apple"}; };
    ContentView late(std::move(services));
    late.setSelection({"/Applications/A.app"});
    EXPECT_EQ(late.deletableSelection().size(), 1U);
    window.settle();
    EXPECT_TRUE(late.selection().empty());
}

TEST_F(ContentViewTest, AsksBeforeRemovingAndOnlyForWhatCanBeRemoved) {
    found({"/Applications/Own.app/a", "/usr/libexec/helper"});
    content().setSelection({"/Applications/Own.app"});
    content().requestDeleteOfRow(*content().groupWithRoot("/usr/libexec/helper"));
    EXPECT_EQ(content().selection(), RootSet{"/usr/libexec/helper"});
    content().requestDeleteOfSelection();
    EXPECT_FALSE(content().showDeleteConfirm());
    content().requestDeleteOfRow(*content().groupWithRoot("/Applications/Own.app"));
    EXPECT_TRUE(content().showDeleteConfirm());
}

TEST_F(ContentViewTest, ScansTheChosenFolderElseTheScope) {
    EXPECT_EQ(content().scanRoots().size(), 11U);
    EXPECT_EQ(content().scanRoots()[1], "/Users/me/Applications");
    content().chooseFolder("/Volumes/Backup");
    content().setScope(Scope::deep);
    content().scanPressed();
    EXPECT_TRUE(content().scanner().scanning());
    window.settle();
    EXPECT_EQ(content().scanner().lastRoots(), Paths{"/Volumes/Backup"});
    content().clearFolder();
    EXPECT_EQ(content().scanRoots(), Paths{"/"});
}

TEST_F(ContentViewTest, ExportsAllGroupsWhereTheUserSaysAndNothingWhenCancelled) {
    const TemporaryTree tree;
    found({"/Applications/A.app/a"});
    content().setCategoryFilter(Category::driver);
    const auto wanted = tree.at("x.csv");
    for (const auto& path : {std::optional<std::string>(), std::optional(wanted)}) {
        window.desktop->csvFile = path;
        content().exportCSV();
    }
    EXPECT_EQ(PosixFiles().read(wanted),
              "category,bundle,vendor,fix,cpu,apple_signed,created,legacy_count,path\n"
              "\"App\",\"A.app\",\"\",Manual,\"x86_64\",false,,1,\"/Applications/A.app\"\n");
}

}  // namespace
}  // namespace vestigo::test
