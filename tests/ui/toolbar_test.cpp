#include "ui/toolbar.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QTest>
#include <memory>
#include <utility>

#include <gtest/gtest.h>

#include "tests/support/window_fakes.h"
#include "ui/refresher.h"

namespace vestigo::test {
namespace {

/// A toolbar on screen over a model of its own.
class ToolbarTest : public testing::Test {
protected:
    void show() {
        toolbar = std::make_unique<Toolbar>(window.content(), *window.desktop);
        refresher = std::make_unique<Refresher>(window.content());
        QObject::connect(refresher.get(), &Refresher::changed, toolbar.get(), &Toolbar::refresh);
        toolbar->refresh(Changes::everything());
        toolbar->resize(1280, toolbar->sizeHint().height());
        toolbar->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(toolbar.get()));
    }
    template <class Widget = QWidget>
    Widget& part(const char* name) {
        return *toolbar->findChild<Widget*>(QLatin1String(name));
    }
    void press(const char* name) {
        QTest::mouseClick(&part(name), Qt::LeftButton);
        refresher->flush();
    }
    void choose(const char* name, const QString& text) {
        auto& box = part<QComboBox>(name);
        box.showPopup();
        box.view()->setCurrentIndex(box.model()->index(box.findText(text), 0));
        QTest::keyClick(box.view(), Qt::Key_Return);
        refresher->flush();
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
        window.content().setSelection(std::move(roots));
        refresher->flush();
    }

    WindowFixture window;
    std::unique_ptr<Toolbar> toolbar;
    std::unique_ptr<Refresher> refresher;
};

TEST_F(ToolbarTest, StandsInOneRowInTheOrderOfTheTabKey) {
    window.content().chooseFolder("/Users/me");
    show();
    int right = 10 - 12;
    for (int i = 0; i < toolbar->layout()->count(); ++i) {
        const auto* const each = toolbar->layout()->itemAt(i)->widget();
        if (!each || !each->isVisible()) continue;
        EXPECT_EQ(each->x() - right, 12) << i;
        EXPECT_NEAR(each->geometry().center().y(), toolbar->height() / 2, 1) << i;
        right = each->geometry().right() + 1;
    }
    part("scan").setFocus();
    for (const auto* const next :
         {"folder", "clearFolder", "intelOnly", "categoryFilter", "fixFilter", "size", "scan"}) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        EXPECT_TRUE(part(next).hasFocus()) << next;
    }
    EXPECT_FALSE(part("stop").isVisible());
    EXPECT_TRUE(part<QPushButton>("scan").isDefault());
}

TEST_F(ToolbarTest, ListsEveryFilterWithItsCount) {
    window.found("/Library/Extensions/A.kext/a");
    window.found("/Library/Extensions/A.kext/b");
    window.found("/usr/local/Cellar/wget/1.0/bin/wget");
    show();
    EXPECT_EQ(texts("categoryFilter"),
              QStringList({"All (2)", "", "App (0)", "Driver / Ext (1)", "Plug-in (0)",
                           "Library (0)", "CLI tool (1)", "Helper (0)", "Other (0)"}));
    EXPECT_EQ(texts("fixFilter"), QStringList({"All fixes", "", "brew (1)", "MacPorts (0)",
                                               "Manual (1)", "Keep (0)", "Apple (0)"}));
    EXPECT_EQ(texts("scope"), QStringList({"Smart folders", "Whole disk ( / )"}));
    EXPECT_EQ(texts("size"), QStringList({"Small", "Medium", "Large"}));
}

TEST_F(ToolbarTest, SetsTheModelByWhatIsChosen) {
    window.found("/Library/Extensions/A.kext/a", {"x86_64", "arm64"});
    show();
    auto& content = window.content();
    choose("scope", "Whole disk ( / )");
    choose("categoryFilter", "CLI tool (0)");
    choose("fixFilter", "Keep (0)");
    choose("size", "Large");
    press("intelOnly");
    EXPECT_EQ(content.scope(), Scope::deep);
    EXPECT_EQ(content.categoryFilter(), Category::cliTool);
    EXPECT_EQ(content.fixFilter(), Fix::keep);
    EXPECT_EQ(content.fontDelta(), 8);
    EXPECT_FALSE(content.scanner().intelOnly());
    EXPECT_EQ(texts("categoryFilter").front(), "All (1)");
    choose("categoryFilter", "All (1)");
    choose("fixFilter", "All fixes");
    EXPECT_FALSE(content.categoryFilter() || content.fixFilter());
}

TEST_F(ToolbarTest, OffersToRemoveWhatOfTheSelectionCanBeRemoved) {
    window.found("/Applications/A.app/a");
    window.found("/Applications/B.app/b");
    window.found("/Applications/Keep.app/x");
    window.found("/Applications/Keep.app/arm", {"arm64"});
    window.found("/Applications/Apple.app/x");
    window.signedBy("/Applications/Apple.app", "Software Signing", true);
    show();
    auto& content = window.content();
    EXPECT_EQ(text("moveToTrash"), "Move to Trash");
    EXPECT_FALSE(enabled("moveToTrash"));
    select({"/Applications/A.app", "/Applications/Keep.app", "/Applications/Apple.app"});
    EXPECT_EQ(text("moveToTrash"), "Move to Trash (1)");
    select({"/Applications/Keep.app"});
    EXPECT_EQ(text("moveToTrash"), "Move to Trash");
    EXPECT_FALSE(enabled("moveToTrash"));
    select({"/Applications/A.app", "/Applications/B.app"});
    choose("categoryFilter", "Driver / Ext (0)");
    EXPECT_EQ(text("moveToTrash"), "Move to Trash (2)");
    press("moveToTrash");
    EXPECT_TRUE(content.showDeleteConfirm());
}

TEST_F(ToolbarTest, LocksTheScopeWhileAFolderIsChosen) {
    show();
    press("folder");
    EXPECT_EQ(text("folder"), "Folder…");
    EXPECT_TRUE(enabled("scope"));
    window.desktop->folder = "/Users/me/R&D";
    press("folder");
    EXPECT_EQ(window.content().customRoot(), "/Users/me/R&D");
    EXPECT_EQ(text("folder"), "R&&D");  // As Qt writes a sign that marks no key.
    EXPECT_FALSE(enabled("scope"));
    part("clearFolder").setFocus();
    press("clearFolder");
    EXPECT_FALSE(window.content().customRoot() || part("clearFolder").isVisible());
    EXPECT_TRUE(enabled("scope") && part("folder").hasFocus());
    for (const auto& [path, name] : {std::pair("/", "/"), std::pair("/Volumes/Old/", "Old")}) {
        window.desktop->folder = path;
        press("folder");
        EXPECT_EQ(text("folder"), name);
    }
}

TEST_F(ToolbarTest, StopsInPlaceOfScanningWhileAScanRuns) {
    window.found("/Applications/A.app/a");
    show();
    window.content().chooseFolder("/nowhere");
    select({"/Applications/A.app"});
    const auto idleOnly = {"folder", "clearFolder", "moveToTrash", "exportCsv"};
    for (const auto* const name : idleOnly) EXPECT_TRUE(enabled(name)) << name;
    part("scan").setFocus();
    press("scan");
    EXPECT_TRUE(window.content().scanner().scanning());
    EXPECT_FALSE(part("scan").isVisible());
    EXPECT_TRUE(part("stop").hasFocus());
    for (const auto* const name : idleOnly) EXPECT_FALSE(enabled(name)) << name;
    for (const auto* const name : {"intelOnly", "categoryFilter", "fixFilter", "size"}) {
        EXPECT_TRUE(enabled(name)) << name;
    }
    press("stop");
    EXPECT_FALSE(window.content().scanner().scanning());
    EXPECT_TRUE(part("scan").hasFocus());
    EXPECT_FALSE(enabled("scope"));
}

TEST_F(ToolbarTest, CountsOnInAnOpenPopup) {
    window.found("/Applications/A.app/a", {"arm64", "x86_64"});
    show();
    auto& box = part<QComboBox>("categoryFilter");
    box.showPopup();
    auto& list = *box.view();
    list.setCurrentIndex(box.model()->index(3, 0));
    window.content().scanner().setIntelOnly(false);
    refresher->flush();
    EXPECT_TRUE(list.isVisible());
    EXPECT_EQ(list.currentIndex().row(), 3);
    EXPECT_EQ(box.currentText(), "All (1)");
    EXPECT_GE(list.width(), list.sizeHintForColumn(0));
    QTest::keyClick(&list, Qt::Key_Escape);
}

}  // namespace
}  // namespace vestigo::test
