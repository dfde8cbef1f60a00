#include "ui/toolbar.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QMouseEvent>
#include <QWheelEvent>
#include <utility>

#include "tests/support/on_screen.h"
#include "ui/stray_input.h"

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
    QString text(const char* name) { return part<QAbstractButton>(name).text(); }
    bool enabled(const char* name) { return part(name).isEnabled(); }
    void select(RootSet roots) {
        content().setSelection(std::move(roots));
        refresher->flush();
    }

    std::unique_ptr<Toolbar> toolbar;
};

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
    // Two signs: Qt's way to write one that marks no key.
    for (const auto& [path, name] : {std::pair("/", "/"), std::pair("/Volumes/Old/", "Old"),
                                     std::pair("/Users/me/R&D", "R&&D")}) {
        fixture.desktop->folder = path;
        press("folder");
        EXPECT_EQ(text("folder"), name);
    }
    EXPECT_EQ(content().customRoot(), "/Users/me/R&D");
    EXPECT_FALSE(enabled("scope"));
    press("clearFolder");
    EXPECT_FALSE(content().customRoot());
    EXPECT_TRUE(enabled("scope"));
}

TEST_F(ToolbarTest, WhatComesUnderThePointerIgnoresTheRestOfADoubleClick) {
    StrayInputFilter::install();
    show();
    content().chooseFolder("/nowhere");
    const auto clickAt = [this](const char* name, quint64 time) {
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
            QMouseEvent event(type, QPointF(9, 9), QPointF(90, 90), Qt::LeftButton, Qt::LeftButton,
                              {});
            event.setTimestamp(time);
            QApplication::sendEvent(&part(name), &event);
        }
        refresher->flush();
    };
    QApplication::setDoubleClickInterval(50000);
    clickAt("scan", 100000);
    clickAt("stop", 200000);
    part("stop").setFocus();
    key(part("stop"), Qt::Key_Space);
    EXPECT_TRUE(content().scanner().scanning());
    clickAt("categoryFilter", 300000);
    clickAt("intelOnly", 300100);
    EXPECT_TRUE(content().scanner().intelOnly());
    clickAt("intelOnly", 400000);
    EXPECT_FALSE(content().scanner().intelOnly());
    QApplication::setDoubleClickInterval(0);
}

TEST_F(ToolbarTest, ChoicesIgnoreTheWheelInPassing) {
    show();
    auto& size = part("size");
    for (const bool focused : {false, true}) {
        focused ? size.setFocus() : part("scan").setFocus();
        QWheelEvent event({9, 9}, size.mapToGlobal(QPointF(9, 9)), {}, {0, -120}, {}, {},
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(&size, &event);
        EXPECT_EQ(content().fontDelta(), focused ? 4 : 0);
    }
}

TEST_F(ToolbarTest, GapsGiveWayBeforeTheFolderAndTheFolderBeforeTheChoices) {
    show();
    content().chooseFolder("/Volumes/Everything that was on the old machine");
    refresher->flush();
    const auto& folder = part("folder");
    const auto widthAt = [&](int width) {
        toolbar->resize(width, toolbar->height());
        QTest::qWait(1);
        for (const auto* const name : {"scope", "categoryFilter", "fixFilter", "size"}) {
            EXPECT_GE(part(name).width(), part(name).minimumSizeHint().width()) << name;
        }
        return folder.width();
    };
    const int natural = folder.sizeHint().width();
    EXPECT_EQ(widthAt(2000), natural);
    EXPECT_EQ(widthAt(toolbar->sizeHint().width() - 40), natural);
    EXPECT_LT(widthAt(toolbar->minimumSizeHint().width() + 20), natural);
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
        EXPECT_TRUE(enabled("categoryFilter"));
        EXPECT_EQ(part("scan").isVisible(), whileIdle);
    };
    expectEnabled(true);
    press("scan");
    EXPECT_TRUE(content().scanner().scanning());
    expectEnabled(false);
    press("stop");
    EXPECT_FALSE(content().scanner().scanning());
    EXPECT_FALSE(enabled("scope"));
}

}  // namespace
}  // namespace vestigo::test
