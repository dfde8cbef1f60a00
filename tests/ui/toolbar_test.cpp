#include "ui/toolbar.h"

#include <QAbstractItemView>
#include <utility>

#include "tests/support/on_screen.h"

namespace vestigo::test {
namespace {

class ToolbarTest : public OnScreenTest {
protected:
    void show() {
        toolbar = std::make_unique<Toolbar>(content(), *fixture.desktop);
        toolbar->resize(1280, toolbar->sizeHint().height());
        OnScreenTest::show(*toolbar, *toolbar);
    }
    template <class Widget = QWidget>
    Widget& part(const char* name) {
        return test::part<Widget>(*toolbar, name);
    }
    void press(const char* name) { click(part(name)); }
    void choose(const char* name, const QString& text) {
        auto& box = part<QComboBox>(name);
        box.showPopup();
        box.view()->setCurrentIndex(box.model()->index(box.findText(text), 0));
        key(*box.view(), Qt::Key_Return);
    }
    QStringList texts(const char* name) {
        QStringList all;
        const auto& box = part<QComboBox>(name);
        for (int i = 0; i < box.count(); ++i) all << box.itemText(i);
        return all;
    }
    QString text(const char* name) { return part<QAbstractButton>(name).text(); }
    bool enabled(const char* name) { return part(name).isEnabled(); }
    void select(RootSet roots) {
        content().setSelection(std::move(roots));
        refresher->flush();
    }

    std::unique_ptr<Toolbar> toolbar;
};

TEST_F(ToolbarTest, ListsEveryFilterWithItsCount) {
    fixture.found("/Library/Extensions/A.kext/a");
    fixture.found("/Library/Extensions/A.kext/b");
    fixture.found("/usr/local/Cellar/wget/1.0/bin/wget");
    show();
    EXPECT_EQ(texts("categoryFilter"),
              QStringList({"All (2)", "", "App (0)", "Driver / Ext (1)", "Plug-in (0)",
                           "Library (0)", "CLI tool (1)", "Helper (0)", "Other (0)"}));
    EXPECT_EQ(texts("fixFilter"), QStringList({"All fixes", "", "brew (1)", "MacPorts (0)",
                                               "Manual (1)", "Keep (0)", "Apple (0)"}));
}

TEST_F(ToolbarTest, SetsTheModelByWhatIsChosen) {
    fixture.found("/Library/Extensions/A.kext/a", {"x86_64", "arm64"});
    show();
    choose("scope", "Whole disk ( / )");
    choose("categoryFilter", "CLI tool (0)");
    choose("fixFilter", "Keep (0)");
    choose("size", "Large");
    press("intelOnly");
    EXPECT_EQ(content().scope(), Scope::deep);
    EXPECT_EQ(content().categoryFilter(), Category::cliTool);
    EXPECT_EQ(content().fixFilter(), Fix::keep);
    EXPECT_EQ(content().fontDelta(), 8);
    EXPECT_FALSE(content().scanner().intelOnly());
    choose("categoryFilter", "All (1)");
    choose("fixFilter", "All fixes");
    EXPECT_FALSE(content().categoryFilter() || content().fixFilter());
}

TEST_F(ToolbarTest, OffersToRemoveWhatOfTheSelectionCanBeRemoved) {
    fixture.found("/Applications/A.app/a");
    fixture.found("/Applications/B.app/b");
    fixture.found("/Applications/Keep.app/x");
    fixture.found("/Applications/Keep.app/arm", {"arm64"});
    show();
    select({"/Applications/A.app", "/Applications/Keep.app"});
    EXPECT_EQ(text("moveToTrash"), "Move to Trash (1)");
    select({"/Applications/Keep.app"});
    EXPECT_EQ(text("moveToTrash"), "Move to Trash");
    EXPECT_FALSE(enabled("moveToTrash"));
    select({"/Applications/A.app", "/Applications/B.app"});
    choose("categoryFilter", "Driver / Ext (0)");
    EXPECT_EQ(text("moveToTrash"), "Move to Trash (2)");
    press("moveToTrash");
    EXPECT_TRUE(content().showDeleteConfirm());
}

TEST_F(ToolbarTest, LocksTheScopeWhileAFolderIsChosen) {
    show();
    press("folder");
    EXPECT_EQ(text("folder"), "Folder…");
    EXPECT_TRUE(enabled("scope"));
    // Two signs: Qt's way to write one that marks no key.
    for (const auto& [path, name] : {std::pair("/", "/"), std::pair("/Volumes/Old/", "Old"),
                                     std::pair("/Users/me/R&D", "R&&D")}) {
        fixture.desktop->folder = path;
        press("folder");
        EXPECT_EQ(text("folder"), name);
    }
    EXPECT_EQ(content().customRoot(), "/Users/me/R&D");
    EXPECT_FALSE(enabled("scope"));
    part("clearFolder").setFocus();
    press("clearFolder");
    EXPECT_FALSE(content().customRoot() || part("clearFolder").isVisible());
    EXPECT_TRUE(enabled("scope") && part("folder").hasFocus());
}

TEST_F(ToolbarTest, StopsInPlaceOfScanningWhileAScanRuns) {
    fixture.found("/Applications/A.app/a");
    show();
    content().chooseFolder("/nowhere");
    select({"/Applications/A.app"});
    const auto expectEnabled = [this](bool whileIdle) {
        for (const auto* const name : {"folder", "clearFolder", "moveToTrash", "exportCsv"}) {
            EXPECT_EQ(enabled(name), whileIdle) << name;
        }
        for (const auto* const name : {"intelOnly", "categoryFilter", "fixFilter", "size"}) {
            EXPECT_TRUE(enabled(name)) << name;
        }
        EXPECT_EQ(part("scan").isVisible(), whileIdle);
    };
    expectEnabled(true);
    part("scan").setFocus();
    press("scan");
    EXPECT_TRUE(content().scanner().scanning());
    EXPECT_TRUE(part("stop").hasFocus());
    expectEnabled(false);
    press("stop");
    EXPECT_FALSE(content().scanner().scanning());
    EXPECT_TRUE(part("scan").hasFocus());
    EXPECT_FALSE(enabled("scope"));
}

TEST_F(ToolbarTest, CountsOnInAnOpenPopup) {
    fixture.found("/Applications/A.app/a", {"arm64", "x86_64"});
    show();
    auto& box = part<QComboBox>("categoryFilter");
    box.showPopup();
    auto& list = *box.view();
    list.setCurrentIndex(box.model()->index(3, 0));
    content().scanner().setIntelOnly(false);
    refresher->flush();
    EXPECT_TRUE(list.isVisible());
    EXPECT_EQ(list.currentIndex().row(), 3);
    EXPECT_EQ(box.currentText(), "All (1)");
    EXPECT_GE(list.width(), list.sizeHintForColumn(0));
    QTest::keyClick(&list, Qt::Key_Escape);
}

}  // namespace
}  // namespace vestigo::test
