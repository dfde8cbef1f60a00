#include "app/vestigo_app.h"

#include <QAction>
#include <QApplication>
#include <QApplicationStateChangeEvent>
#include <QDialog>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTest>

#include "tests/support/test.h"
#include "tests/support/window_fakes.h"

namespace vestigo::test {
namespace {

class FakeUpdater : public Updater {
public:
    void checkForUpdates() override { ++checks; }
    bool automaticallyChecksForUpdates() const override { return automatic; }
    void setAutomaticallyChecksForUpdates(bool value) override { automatic = value; }

    int checks = 0;
    bool automatic = true;
};

QAction& command(MainWindow& window, const QString& text) {
    for (auto* const action : window.menuBar()->findChildren<QAction*>()) {
        if (action->text() == text) return *action;
    }
    throw std::runtime_error("no command " + text.toStdString());
}

class VestigoAppTest : public testing::Test {
protected:
    WindowFixture fixture;
    std::unique_ptr<FakeUpdater> ownUpdater = std::make_unique<FakeUpdater>();
    FakeUpdater& updater = *ownUpdater;
    VestigoApp app{fixture.services(), std::move(ownUpdater), "1.2"};
};

TEST_F(VestigoAppTest, HasTheUpdateCommandsWhereThereIsAnUpdater) {
    auto& window = app.openWindow();
    command(window, "Check for Updates…").trigger();
    EXPECT_EQ(updater.checks, 1);
    auto& automatically = command(window, "Automatically Check for Updates");
    EXPECT_TRUE(automatically.isChecked());
    automatically.trigger();
    EXPECT_FALSE(updater.automatic);
    VestigoApp without(fixture.services(), nullptr, "");
    EXPECT_ANY_THROW(command(without.openWindow(), "Check for Updates…"));
}

TEST_F(VestigoAppTest, WindowsHearWhatConcernsAllAndOutliveEachOther) {
    auto& first = app.openWindow();
    auto& second = app.openWindow();
    command(first, "Vestigo Help").trigger();
    command(first, "About Vestigo").trigger();
    fixture.notifications->post(notification::outOfMemory);
    for (auto* const each : {&first, &second}) {
        EXPECT_TRUE(each->content().showHelp() && each->content().showAbout());
        EXPECT_TRUE(each->content().alert());
        each->content().dismissAlert();
    }
    bool resized = false;
    const auto hearing = second.content().subscribe(
        [&](ContentField field) { resized = field == ContentField::fontDelta; });
    first.content().setFontDelta(8);
    EXPECT_TRUE(resized);

    first.content().scanPressed();
    EXPECT_FALSE(second.content().scanner().scanning());
    const QPointer<MainWindow> closed = &first;
    command(first, "Close").trigger();
    EXPECT_TRUE(QTest::qWaitFor([&] { return closed.isNull(); }));
    fixture.settle();
    command(second, "New Window").trigger();
    EXPECT_EQ(std::ranges::count_if(
                  QApplication::topLevelWidgets(),
                  [](QWidget* widget) { return qobject_cast<MainWindow*>(widget) != nullptr; }),
              2);
    command(second, "Quit Vestigo").trigger();
    EXPECT_TRUE(fixture.terminated);
}

TEST_F(VestigoAppTest, KeysOfTheMenusReachASheet) {
    auto& window = app.openWindow();
    window.content().showHelpRequested();
    QDialog* help = nullptr;
    ASSERT_TRUE(QTest::qWaitFor([&] { return (help = window.findChild<QDialog*>("help")); }));
    ASSERT_TRUE(QTest::qWaitForWindowActive(help));
    const auto press = [&](const QString& text) {
        const QKeySequence keys(Qt::CTRL | Qt::Key_J);
        command(window, text).setShortcut(keys);
        QTest::keySequence(help, keys);
        command(window, text).setShortcut({});
    };
    press("Quit Vestigo");
    EXPECT_TRUE(fixture.terminated);
    press("Close");
    EXPECT_FALSE(window.content().showHelp());
    EXPECT_TRUE(window.isVisible());
}

TEST_F(VestigoAppTest, SaysWhatGoesOnWithoutAClosedWindowAndWithoutTheProgram) {
    const auto message = [] {
        for (auto* const widget : QApplication::topLevelWidgets()) {
            auto* const box = qobject_cast<QMessageBox*>(widget);
            if (box && box->isVisible()) return box;
        }
        return static_cast<QMessageBox*>(nullptr);
    };
    auto& idle = app.openWindow();
    fixture.processes->left = {{"<b>wget", true}};
    auto& window = app.openWindow();
    idle.close();
    EXPECT_FALSE(message());
    command(window, "Quit Vestigo").trigger();
    ASSERT_TRUE(message());
    EXPECT_TRUE(message()->text().startsWith("Homebrew goes on reinstalling “<b>wget”"));
    EXPECT_EQ(message()->textFormat(), Qt::PlainText);
    EXPECT_FALSE(fixture.terminated);
    message()->button(QMessageBox::Ok)->click();
    EXPECT_TRUE(fixture.terminated);
    window.close();
    EXPECT_TRUE(message());
}

TEST_F(VestigoAppTest, SelectAllFromTheMenuSelectsTheRows) {
    fixture.found("/Applications/A.app/a");
    fixture.found("/Applications/B.app/b");
    auto& window = app.openWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    command(window, "Select All").trigger();
    EXPECT_EQ(window.content().selection().size(), 2U);
}

class MacMenusTest : public VestigoAppTest {
protected:
    QAction& command(const QString& text) {
        for (auto* const action : mac.menus().sharedBar()->findChildren<QAction*>()) {
            if (action->text() == text) return *action;
        }
        throw std::runtime_error("no command " + text.toStdString());
    }
    ~MacMenusTest() override { QApplication::setQuitOnLastWindowClosed(true); }

    std::unique_ptr<FakeUpdater> another = std::make_unique<FakeUpdater>();
    FakeUpdater& macUpdater = *another;
    VestigoApp mac{fixture.services(), std::move(another), "1.2", MenuStyle::mac};
};

TEST_F(MacMenusTest, CloseNoOtherWindowThanTheOneWhoseSheetWaits) {
    auto& first = mac.openWindow();
    QPointer<MainWindow> second = &mac.openWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(second));
    first.content().showHelpRequested();
    ASSERT_TRUE(QTest::qWaitFor([] { return QApplication::activeModalWidget() != nullptr; }));
    QApplication::setActiveWindow(QApplication::activeModalWidget());
    command("Close").trigger();
    EXPECT_FALSE(QTest::qWaitFor([&] { return second.isNull() || !first.isVisible(); }, 50));
}

TEST_F(MacMenusTest, StayWithTheProgramWhenItsLastWindowIsClosed) {
    QPointer<MainWindow> first = &mac.openWindow();
    QPointer<MainWindow> second = &mac.openWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(second));
    command("Close").trigger();
    EXPECT_TRUE(QTest::qWaitFor([&] { return second.isNull(); }));
    EXPECT_TRUE(first);
    command("Close").trigger();
    EXPECT_TRUE(QTest::qWaitFor([&] { return first.isNull(); }));
    EXPECT_FALSE(QApplication::quitOnLastWindowClosed());
    command("Close").trigger();
    const auto windows = [] {
        return std::ranges::count_if(QApplication::topLevelWidgets(), [](QWidget* widget) {
            return qobject_cast<MainWindow*>(widget) != nullptr;
        });
    };
    EXPECT_EQ(windows(), 0);
    QApplicationStateChangeEvent comesBack(Qt::ApplicationActive);
    QApplication::sendEvent(qApp, &comesBack);
    EXPECT_EQ(windows(), 1);
    command("New Window").trigger();
    EXPECT_EQ(windows(), 2);
}

TEST_F(MacMenusTest, ActOnTheActiveWindowAndListAll) {
    auto& first = mac.openWindow();
    auto& second = mac.openWindow();
    first.setWindowTitle("First");
    second.setWindowTitle("Second");
    ASSERT_TRUE(QTest::qWaitForWindowActive(&second));
    auto* const menu = qobject_cast<QMenu*>(command("Minimize").parent());
    ASSERT_TRUE(menu);
    for (int opened = 0; opened < 2; ++opened) emit menu->aboutToShow();
    EXPECT_EQ(menu->actions().size(), 5);
    EXPECT_TRUE(command("Second").isChecked() && !command("First").isChecked());
    command("Zoom").trigger();
    EXPECT_TRUE(second.isMaximized() && !first.isMaximized());
    command("Minimize").trigger();
    EXPECT_TRUE(second.isMinimized());
    command("Second").trigger();
    EXPECT_FALSE(second.isMinimized());
    command("First").trigger();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&first));
}

TEST_F(MacMenusTest, EditTextWhereTheFocusIs) {
    auto& window = mac.openWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    EXPECT_FALSE(command("Paste").isEnabled());
    QLineEdit text(&window);
    text.show();
    text.setFocus();
    QTest::keyClicks(&text, "words");
    for (const auto* const name : {"Select All", "Cut"}) command(name).trigger();
    EXPECT_EQ(text.text(), "");
    command("Paste").trigger();
    EXPECT_EQ(text.text(), "words");
    command("Undo").trigger();
    EXPECT_EQ(text.text(), "");
    text.clearFocus();
    EXPECT_FALSE(command("Cut").isEnabled());
}

TEST_F(MacMenusTest, CheckMarkFollowsWhatTheUpdaterWasToldElsewhere) {
    auto& automatically = command("Automatically Check for Updates");
    EXPECT_TRUE(automatically.isChecked());
    macUpdater.automatic = false;
    // Nobody hears when the system opens its own menu.
    ASSERT_TRUE(QTest::qWaitForWindowActive(&mac.openWindow()));
    EXPECT_FALSE(automatically.isChecked());
}

}  // namespace
}  // namespace vestigo::test
