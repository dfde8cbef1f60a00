#include "ui/main_window.h"

#include <QAbstractItemView>
#include <QMouseEvent>
#include <QPushButton>
#include <QScreen>
#include <QWheelEvent>

#include "tests/support/on_screen.h"

namespace vestigo::test {
namespace {

/// The window is closed while a panel is open.
struct ClosingDesktop : FakeDesktop {
    std::optional<std::string> chooseFolder() override {
        close();
        return FakeDesktop::chooseFolder();
    }
    std::function<void()> close;
};

class MainWindowTest : public WindowTest {
protected:
    void press(const char* name) { click(part(name)); }
    void choose(const char* name, const QString& text) {
        auto& box = part<QComboBox>(name);
        box.showPopup();
        box.view()->setCurrentIndex(box.model()->index(box.findText(text), 0));
        QTest::keyClick(box.view(), Qt::Key_Return);
        refresh();
    }
    bool enabled(const char* name) { return part(name).isEnabled(); }
    /// What the status bar says, part by part.
    QStringList status() {
        QStringList shownTexts;
        for (const auto* const label : part("status").findChildren<QLabel*>()) {
            if (label->isVisible()) shownTexts << label->text();
        }
        return shownTexts;
    }
    /// A press and its release at this place and time, in milliseconds.
    void clickAt(QWidget& widget, quint64 time, const QPointF& place = {90, 90}) {
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
            QMouseEvent event(type, QPointF(9, 9), place, Qt::LeftButton, Qt::LeftButton, {});
            event.setTimestamp(time);
            QApplication::sendEvent(&widget, &event);
        }
        refresh();
    }
};

TEST_F(MainWindowTest, SaysWhatTheLastScanFound) {
    qputenv("TZ", "UTC");
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    fixture.foundAll({"/Applications/A.app/a", "/Applications/A.app/b"});
    fixture.store->record->date = 800000000.0;
    open();
    EXPECT_TRUE(part("results").hasFocus());
    EXPECT_EQ(status().replaceInStrings(QString(QChar(0x202f)), " "),
              QStringList({"1 items · 2 Intel files", "Last scan: May 9, 2026, 6:13 AM"}));
    QLocale::setDefault(QLocale::system());
    content().scanner().pruneHits("/Applications/A.app/b");
    content().scanner().regroup();
    content().setFontDelta(8);
    refresh();
    EXPECT_EQ(status()[0], "1 items · 1 Intel files");
    EXPECT_EQ(part("summary").font().pixelSize(), 21);
    EXPECT_TRUE(fixture.desktop->announced.empty());
}

TEST_F(MainWindowTest, TheToolbarSetsTheModelAndShowsIt) {
    fixture.found("/Library/Extensions/A.kext/a", {"x86_64", "arm64"});
    open();
    EXPECT_FALSE(enabled("exportCsv"));
    press("intelOnly");
    EXPECT_FALSE(content().scanner().intelOnly());
    EXPECT_TRUE(enabled("exportCsv"));
    choose("scope", "Whole disk ( / )");
    choose("categoryFilter", "Driver / Ext (1)");
    choose("fixFilter", "Manual (0)");
    choose("size", "Large");
    EXPECT_EQ(content().scope(), Scope::deep);
    EXPECT_EQ(content().categoryFilter(), Category::driver);
    EXPECT_EQ(content().fixFilter(), Fix::manual);
    EXPECT_EQ(content().fontDelta(), 8);
    choose("categoryFilter", "All (1)");
    choose("fixFilter", "All fixes");
    EXPECT_FALSE(content().categoryFilter() || content().fixFilter());
    content().setFontDelta(4);  // As in another window.
    refresh();
    EXPECT_EQ(part<QComboBox>("size").currentText(), "Medium");
}

TEST_F(MainWindowTest, LocksTheScopeWhileAFolderIsChosen) {
    open();
    // Two signs: Qt's way to write one that marks no key.
    for (const auto& [path, name] : {std::pair("/", "/"), std::pair("/Volumes/Old/", "Old"),
                                     std::pair("/Users/me/R&D", "R&&D")}) {
        fixture.desktop->folder = path;
        press("folder");
        EXPECT_EQ(part<QAbstractButton>("folder").text(), name);
    }
    EXPECT_EQ(content().scanRoots(), std::vector<std::string>{"/Users/me/R&D"});
    EXPECT_FALSE(enabled("scope"));
    keyOn(part("clearFolder"), Qt::Key_Return);
    EXPECT_EQ(content().scanRoots()[1], "/Users/me/Applications");
    EXPECT_TRUE(enabled("scope"));
    EXPECT_TRUE(part("folder").hasFocus());
}

TEST_F(MainWindowTest, AScanIsFollowedAndStopped) {
    fixture.found("/Applications/A.app/a");
    open();
    content().setSelection({"/Applications/A.app"});
    chooseEmptyFolder();
    const int place = part("folder").x();
    const auto expectEnabled = [&](bool whileIdle) {
        for (const auto* const name : {"folder", "clearFolder", "moveToTrash", "exportCsv"}) {
            EXPECT_EQ(enabled(name), whileIdle) << name;
        }
        EXPECT_TRUE(enabled("categoryFilter"));
        EXPECT_EQ(part("scan").isVisible(), whileIdle);
        EXPECT_EQ(part("folder").x(), place);
    };
    expectEnabled(true);
    keyOn(part("scan"), Qt::Key_Return);
    showNews();
    expectEnabled(false);
    EXPECT_EQ(status(), QStringList({"Scanning… 0 files", ""}));
    EXPECT_TRUE(part("stop").hasFocus());
    EXPECT_EQ(fixture.desktop->announced, std::vector<std::string>{"Scanning…"});
    keyOn(part("stop"), Qt::Key_Return);
    EXPECT_FALSE(scanning() || enabled("scope"));
    EXPECT_EQ(fixture.desktop->announced.back(), "Scan ended. " + status()[0].toStdString());
}

TEST_F(MainWindowTest, ScansOnReturnWhereverTheFocusIs) {
    open();
    chooseEmptyFolder();
    key(Qt::Key_Return, Qt::ControlModifier);
    EXPECT_FALSE(scanning());
    key(Qt::Key_Return);
    EXPECT_TRUE(scanning());
    key(Qt::Key_Return);  // Stops nothing.
    EXPECT_TRUE(scanning());
    content().scanner().stop();
    choose("categoryFilter", "App (0)");
    EXPECT_FALSE(scanning());
    part("intelOnly").setFocus();
    key(Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_TRUE(scanning());
}

TEST_F(MainWindowTest, ClosesInTheMiddleOfAScanAndWhileAPanelIsOpen) {
    open();
    chooseEmptyFolder();
    content().scanPressed();
    content().showHelpRequested();
    refresh();
    window->close();
    ASSERT_TRUE(QTest::qWaitFor([this] { return window.isNull(); }));
    fixture.settle();  // What the scan still reports finds nobody.

    const auto desktop = std::make_shared<ClosingDesktop>();
    desktop->close = [this] { delete window; };
    desktop->folder = "/late";
    fixture.desktop = desktop;
    open();
    // A click would touch the button that is gone.
    QMetaObject::invokeMethod(&part("folder"), "clicked", Q_ARG(bool, false));
    EXPECT_TRUE(window.isNull());
}

TEST_F(MainWindowTest, WhatComesUnderThePointerIgnoresTheRestOfADoubleClick) {
    open();
    chooseEmptyFolder();
    QApplication::setDoubleClickInterval(50000);
    clickAt(part("scan"), 100000);
    clickAt(part("stop"), 200000);
    QTest::keyClick(&part("stop"), Qt::Key_Space);
    EXPECT_TRUE(scanning());
    auto& intelOnly = part<QAbstractButton>("intelOnly");
    clickAt(part("categoryFilter"), 300000);
    clickAt(intelOnly, 300100);
    EXPECT_TRUE(intelOnly.isChecked());
    clickAt(intelOnly, 400000);
    EXPECT_FALSE(intelOnly.isChecked());
    // Two fast clicks in two places are two clicks.
    clickAt(part("results"), 500000, {500, 500});
    clickAt(intelOnly, 500100);
    EXPECT_TRUE(intelOnly.isChecked());
    QApplication::setDoubleClickInterval(0);
    // A Return that is held down is one Return, and does not answer the sheet that it opened.
    content().showAlert("Careful!");
    QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, {}, "\r", true);
    QApplication::sendEvent(&part(opened("alert"), "ok"), &held);
    EXPECT_TRUE(content().alert());
}

TEST_F(MainWindowTest, ChoicesIgnoreTheWheelInPassing) {
    open();
    auto& size = part("size");
    for (const bool focused : {false, true}) {
        focused ? size.setFocus() : part("scan").setFocus();
        QWheelEvent event({9, 9}, size.mapToGlobal(QPointF(9, 9)), {}, {0, -120}, {}, {},
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(&size, &event);
        EXPECT_EQ(content().fontDelta(), focused ? 4 : 0);
    }
}

TEST_F(MainWindowTest, GapsGiveWayBeforeTheFolderAndTheFolderBeforeTheChoices) {
    open();
    EXPECT_LE(MainWindow(fixture.services(), "").width(),
              std::max(880, window->screen()->availableSize().width()));
    window->centralWidget()->setMinimumWidth(1);
    auto& toolbar = *window->findChild<Toolbar*>();
    content().chooseFolder("/Volumes/Everything that was on the old machine");
    refresh();
    const auto& folder = part("folder");
    const auto widthAt = [&](int width) {
        window->resize(width, window->height());
        QTest::qWait(1);
        for (const auto* const name : {"scope", "categoryFilter", "fixFilter", "size"}) {
            const auto& box = part<QComboBox>(name);
            EXPECT_GT(box.width(), box.fontMetrics().horizontalAdvance(box.currentText())) << name;
        }
        return folder.width();
    };
    const int natural = folder.sizeHint().width();
    EXPECT_EQ(widthAt(2000), natural);
    EXPECT_EQ(widthAt(toolbar.sizeHint().width() - 40), natural);
    EXPECT_LT(widthAt(toolbar.minimumSizeHint().width() + 20), natural);
}

}  // namespace
}  // namespace vestigo::test
