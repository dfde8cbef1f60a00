#include "ui/model/content_view.h"

#include "persist/preference_keys.h"
#include "platform/posix/posix_files.h"
#include "tests/support/test.h"
#include "tests/support/window_fakes.h"
#include "ui/model/cell_content.h"
#include "ui/model/inspect_list.h"

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
    ContentView& content() { return window.content(); }
    const BundleGroup& group(const std::string& root) { return *content().groupWithRoot(root); }
    Paths visible() { return roots(content().visibleRows().rows); }
    CellContent cell(const std::string& root, Column column) {
        return cellContent(content(), group(root), column);
    }
    Paths texts(const std::string& root) {
        Paths all;
        for (std::size_t i = 0; i < columnCount; ++i) {
            all.push_back(cell(root, static_cast<Column>(i)).text);
        }
        return all;
    }

    const std::string wget = "/usr/local/Cellar/wget/1.0/bin/wget";
    TemporaryTree tree;
    WindowFixture window;
};

TEST_F(ContentViewTest, SortsByEveryKeyInTheOrderOfCodePointsAndNumbers) {
    const std::string b = "/Applications/b.app";
    const std::string z = "/Applications/Z.app";
    const std::string e = "/Applications/\xC3\xA9.app";
    const std::string p = "/Library/Audio/Plug-Ins/VST/P.vst";
    window.found(p + "/x");
    window.found(b + "/1", {"x86_64"}, 50);
    window.found(b + "/2", {"i386"}, 60);
    window.found(z + "/1", {"ppc"});
    window.found(e + "/1", {"x86_64"}, 7);
    window.found(wget, {"x86_64"}, 900);
    EXPECT_EQ(visible(), (Paths{b, z, e, wget, p}));
    // Turned round, equals still keep the Scanner's order.
    const struct {
        std::vector<SortComparator> order;
        Paths rows;
    } cases[] = {
        {{{SortKey::categoryName, true}}, {p, wget, b, z, e}},
        {{{SortKey::categoryName, false}, {SortKey::name, true}}, {e, b, z, wget, p}},
        {{{SortKey::name, false}}, {p, z, b, wget, e}},
        {{{SortKey::root, true}}, {wget, p, e, b, z}},
        {{{SortKey::created, false}}, {z, p, e, b, wget}},
        {{{SortKey::legacyCount, false}}, {z, e, wget, p, b}},
        {{{SortKey::cpuSummary, false}}, {b, z, e, wget, p}},
        {{{SortKey::fixRank, false}}, {wget, b, z, e, p}},
        {{{SortKey::fixRank, true}}, {b, z, e, p, wget}},
        {{}, {b, z, e, wget, p}},
    };
    for (const auto& [order, rows] : cases) {
        content().setSortOrder(order);
        EXPECT_EQ(visible(), rows) << "case " << &rows - &cases[0].rows;
    }
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
    window.foundAll({"/Applications/A.app/a", wget});
    content().setFixFilter(Fix::homebrew);
    EXPECT_EQ(visible(), Paths{wget});
    content().setCategoryFilter(Category::application);
    EXPECT_EQ(visible(), Paths());
    EXPECT_EQ(content().groupCount(), 2U);
    EXPECT_EQ(content().fixCount(Fix::manual), 1U);
    content().setFixFilter({});
    EXPECT_EQ(visible(), Paths{"/Applications/A.app"});
}

TEST_F(ContentViewTest, OnlyWhatMayBeRemovedCountsAsDeletableAndIsAskedFor) {
    const std::string apple = "/Applications/Apple.app";
    const std::string keep = "/Applications/Keep.app";
    const std::string late = "/Applications/Late.app";
    const std::string own = "/Applications/Own.app";
    const std::string guarded = "/usr/libexec/helper";
    window.foundAll({apple + "/a", keep + "/a", late + "/a", own + "/a", guarded});
    window.found(keep + "/b", {"x86_64", "arm64"});
    window.signedBy(apple, "Apple", true);
    window.inspect = [&](const std::string& root) { return SignInfo{root == late, "Signer"}; };
    content().setSelection({apple, keep, late, own, guarded});
    EXPECT_EQ(content().selection(), (RootSet{keep, late, own, guarded}));
    EXPECT_EQ(roots(content().deletableSelection()), (Paths{late, own}));
    // A filter hides rows, it does not let go of them; a signature that arrives does.
    content().setCategoryFilter(Category::driver);
    window.settle();
    EXPECT_EQ(content().selection(), (RootSet{keep, own, guarded}));

    content().requestDeleteOfRow(group(guarded));
    EXPECT_EQ(content().selection(), RootSet{guarded});
    content().requestDeleteOfSelection();
    EXPECT_FALSE(content().showDeleteConfirm());
    content().confirmDelete();
    EXPECT_TRUE(window.authentication->reasons.empty());
    content().setSelection({own, "/Applications/Gone.app"});
    content().requestDeleteOfSelection();
    EXPECT_TRUE(content().showDeleteConfirm());
}

/// Something happens while one of its panels is open.
struct PanelDesktop : FakeDesktop {
    std::optional<std::string> chooseCsvFile(const std::string& name) override {
        meanwhile();
        return FakeDesktop::chooseCsvFile(name);
    }
    std::function<void()> meanwhile = [] {};
};

TEST_F(ContentViewTest, ExportsAllGroupsWhereTheUserSaysAndElseNothing) {
    const auto desktop = std::make_shared<PanelDesktop>();
    window.desktop = desktop;
    window.found("/Applications/A.app/a");
    content().setCategoryFilter(Category::driver);
    content().exportCSV();
    desktop->csvFile = tree.at("x.csv");
    content().exportCSV();
    EXPECT_EQ(PosixFiles().read(tree.at("x.csv")),
              "category,bundle,vendor,fix,cpu,apple_signed,created,legacy_count,path\n"
              "\"App\",\"A.app\",\"\",Manual,\"x86_64\",false,,1,\"/Applications/A.app\"\n");
    const auto access = [](const std::string& path) {
        return std::filesystem::status(path).permissions();
    };
    EXPECT_EQ(access(tree.at("x.csv")), access(tree.file("new")));

    auto closed = std::make_unique<ContentView>(window.services());
    desktop->meanwhile = [&] { closed.reset(); };
    desktop->csvFile = tree.at("late.csv");
    closed->exportCSV();
    EXPECT_FALSE(std::filesystem::exists(tree.at("late.csv")));
}

TEST_F(ContentViewTest, ASizeThatNobodyOffersIsTheSmallOne) {
    window.preferences->values[preference::fontDelta] = 5;
    EXPECT_EQ(content().fontDelta(), 0);
    content().setFontDelta(8);
    EXPECT_EQ(content().fontDelta(), 8);
}

TEST_F(ContentViewTest, ARowSaysWhatIsKnownOfItsGroup) {
    const std::string foo = "/Applications/Foo.app";
    const std::string helper = "/usr/libexec/helper";
    window.found(foo + "/a", {"x86_64", "i386"}, 592099200 + 86399);
    window.found(foo + "/b", {"x86_64"}, 800000000);
    window.found(helper, {"ppc"});
    window.signedBy(helper, "Apple", true);
    EXPECT_EQ(texts(foo), (Paths{"", "App", "i386, x86_64", "2", "2019-10-07", "…", "Manual", "—",
                                 "Foo.app", foo}));
    EXPECT_EQ(texts(helper),
              (Paths{"", "CLI tool", "ppc", "1", "—", "Apple", "Apple", "SIP", "helper", helper}));
    EXPECT_EQ(cell(foo, Column::components).tint, Tint::red);
    EXPECT_EQ(cell(helper, Column::components).tint, Tint::tertiary);
    EXPECT_TRUE(cell(helper, Column::cpu).help.starts_with("Contains PowerPC code."));

    // The mark of a copied path moves with the last copy.
    for (const auto& root : {foo, helper}) content().copyPath(root, true);
    EXPECT_EQ(cell(foo, Column::path).symbol->symbol, Symbol::copy);
    EXPECT_EQ(cell(helper, Column::path).symbol->symbol, Symbol::checkCircleFill);
}

TEST_F(ContentViewTest, TheReinstallArrowNeedsAFormulaOfHomebrewAndTurnsIntoAMarkWhenItIsDone) {
    const std::string kept = "/usr/local/Cellar/qt/5.1/Designer.app";
    const std::string unnamed = "/opt/homebrew/bin/tool";
    window.foundAll({wget, unnamed, kept + "/a"});
    window.found(kept + "/b", {"arm64"});
    window.processes->left = {{std::string("wget").append(1, '\0') + wget, false}};
    EXPECT_EQ(cell(wget, Column::fix).text, "brew");
    ASSERT_TRUE(cell(wget, Column::fix).symbol);
    EXPECT_EQ(cell(wget, Column::fix).symbol->action, CellAction::reinstall);
    EXPECT_EQ(cell(unnamed, Column::fix).text, "brew");
    EXPECT_FALSE(cell(unnamed, Column::fix).symbol || cell(kept, Column::fix).symbol);
    EXPECT_TRUE(cell(kept, Column::fix).help.starts_with("This bundle also has an arm64 build"));
    window.endReinstall(0);
    EXPECT_EQ(cell(wget, Column::components).text, "arm64 ✓");
    EXPECT_FALSE(cell(wget, Column::fix).symbol->action);
}

TEST_F(ContentViewTest, InspectingListsTheBinariesOfABundleAndOfNoNeighbour) {
    const std::string foo = "/Applications/Foo.app";
    window.found(foo + "/Contents/b", {"x86_64", "i386"});
    window.found(foo + "/Contents/MacOS/Foo", {"x86_64", "arm64"});
    window.foundAll({foo + "2/other", wget});
    const auto bundle = [this](const std::string& root) {
        return inspectBundle(content().scanner().allHits(), group(root));
    };
    using Binaries = std::vector<InspectedBinary>;
    EXPECT_EQ(bundle(foo).binaries, (Binaries{{"arm64, x86_64", "Contents/MacOS/Foo", false},
                                              {"i386, x86_64", "Contents/b", true}}));
    EXPECT_TRUE(bundle(foo).summary.starts_with("2 Mach-O binaries inside. 1 flagged"));
    EXPECT_TRUE(bundle(wget).summary.starts_with("1 Mach-O binary inside."));
    EXPECT_EQ(bundle(wget).binaries, (Binaries{{"x86_64", wget, true}}));
}

}  // namespace
}  // namespace vestigo::test
