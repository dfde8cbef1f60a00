#include "app/vestigo_app.h"

#include <QAction>
#include <QApplicationStateChangeEvent>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QTimer>

#include "app/lasting_application.h"
#include "app/window_services.h"
#include "tests/support/on_screen.h"

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

template <class Widget>
std::vector<Widget*> topLevels() {
    std::vector<Widget*> found;
    for (auto* const each : QApplication::topLevelWidgets()) {
        auto* const one = qobject_cast<Widget*>(each);
        if (one) found.push_back(one);
    }
    return found;
}

class VestigoAppTest : public testing::Test {
protected:
    ~VestigoAppTest() override {
        app.reset();
        QApplication::setQuitOnLastWindowClosed(true);
    }
    void start(MenuStyle style) {
        auto own = std::make_unique<FakeUpdater>();
        updater = own.get();
        app = std::make_unique<VestigoApp>(fixture.services(), std::move(own), "1.2", style);
    }
    MainWindow& open(const char* title = "") {
        auto& window = app->openWindow();
        window.setWindowTitle(title);
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
        return window;
    }
    /// In the window's bar, or in the one that all windows share.
    QAction& command(const QString& text, MainWindow* window = nullptr) {
        const auto* const bar = window ? window->menuBar() : app->menus().sharedBar();
        for (auto* const action : bar->findChildren<QAction*>()) {
            if (action->text() == text) return *action;
        }
        throw std::runtime_error("no command " + text.toStdString());
    }
    void expectWindows(std::size_t count) {
        EXPECT_TRUE(QTest::qWaitFor([&] { return topLevels<MainWindow>().size() == count; }));
    }
    static QMessageBox* message() {
        const auto all = topLevels<QMessageBox>();
        const auto shown = std::ranges::find_if(all, &QWidget::isVisible);
        return shown == all.end() ? nullptr : *shown;
    }

    WindowFixture fixture;
    FakeUpdater* updater = nullptr;
    std::unique_ptr<VestigoApp> app;
};

TEST_F(VestigoAppTest, HasTheUpdateCommandsWhereThereIsAnUpdater) {
    start(MenuStyle::mac);
    command("Check for Updates…").trigger();
    EXPECT_EQ(updater->checks, 1);
    auto& automatically = command("Automatically Check for Updates");
    EXPECT_TRUE(automatically.isChecked());
    automatically.trigger();
    EXPECT_FALSE(updater->automatic);
    updater->automatic = true;
    // Nobody hears when the system opens its own menu.
    open();
    EXPECT_TRUE(automatically.isChecked());
    VestigoApp without(fixture.services(), nullptr, "", MenuStyle::barInEachWindow);
    EXPECT_ANY_THROW(command("Check for Updates…", &without.openWindow()));
}

TEST_F(VestigoAppTest, WindowsHearWhatConcernsAllAndOutliveEachOther) {
    start(MenuStyle::barInEachWindow);
    auto& first = open();
    auto& second = open();
    command("Vestigo Help", &first).trigger();
    command("About Vestigo", &first).trigger();
    outOfMemoryReport(fixture.notifications)();
    QCoreApplication::processEvents();
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

    first.content().closeHelp();
    first.content().closeAbout();
    QCoreApplication::processEvents();
    first.content().scanPressed();
    EXPECT_FALSE(second.content().scanner().scanning());
    command("Close", &first).trigger();
    expectWindows(1);
    fixture.settle();
    command("New Window", &second).trigger();
    expectWindows(2);
    command("Quit Vestigo", &second).trigger();
    EXPECT_TRUE(fixture.terminated);
}

TEST_F(VestigoAppTest, KeysOfTheMenusReachASheet) {
    start(MenuStyle::barInEachWindow);
    auto& window = open();
    EXPECT_EQ(command("Vestigo Help", &window).shortcut(), QKeySequence("Ctrl+?"));
    window.content().showHelpRequested();
    QDialog* help = nullptr;
    ASSERT_TRUE(QTest::qWaitFor([&] { return (help = window.findChild<QDialog*>("help")); }));
    ASSERT_TRUE(QTest::qWaitForWindowActive(help));
    const QKeySequence keys(Qt::CTRL | Qt::Key_J);
    for (const auto* const text : {"Quit Vestigo", "Close"}) {
        command(text, &window).setShortcut(keys);
        QTest::keySequence(help, keys);
        command(text, &window).setShortcut({});
    }
    EXPECT_TRUE(fixture.terminated);
    EXPECT_FALSE(window.content().showHelp());
    EXPECT_TRUE(window.isVisible());
}

TEST_F(VestigoAppTest, SaysWhatGoesOnWithoutAClosedWindowAndWithoutTheProgram) {
    start(MenuStyle::barInEachWindow);
    open().close();
    EXPECT_FALSE(message());
    fixture.processes->left = {{"<b>wget", true}};
    auto& wget = open();
    fixture.processes->left = {{"curl", true}};
    auto& curl = open();
    command("Quit Vestigo", &wget).trigger();
    ASSERT_TRUE(message());
    EXPECT_TRUE(message()->text().startsWith("Homebrew goes on reinstalling “<b>wget”"));
    EXPECT_EQ(message()->textFormat(), Qt::PlainText);
    EXPECT_FALSE(fixture.terminated);
    message()->button(QMessageBox::Ok)->click();
    EXPECT_TRUE(std::exchange(fixture.terminated, false));
    command("Quit Vestigo", &wget).trigger();
    EXPECT_TRUE(fixture.terminated);
    EXPECT_FALSE(message());

    wget.close();
    curl.close();
    ASSERT_TRUE(message());
    EXPECT_TRUE(message()->text().contains("wget") && message()->text().contains("curl"));
    // It does not wait for ever.
    message()->findChild<QTimer*>("patience")->setInterval(1);
    EXPECT_TRUE(QTest::qWaitFor([] { return !message(); }));
}

TEST_F(VestigoAppTest, AnEventThatRunsOutOfMemoryIsGivenUpAndReported) {
    auto& application = *static_cast<LastingApplication*>(QCoreApplication::instance());
    int reports = 0;
    bool wentOn = false;
    application.setOutOfMemoryReport([&] { ++reports; });
    QTimer::singleShot(0, [] { throw std::bad_alloc(); });
    QTimer::singleShot(1, [&] { wentOn = true; });
    EXPECT_TRUE(QTest::qWaitFor([&] { return wentOn; }));
    EXPECT_EQ(reports, 1);
    application.setOutOfMemoryReport({});
}

TEST_F(VestigoAppTest, OnAMacItStaysWhenItsLastWindowIsClosed) {
    start(MenuStyle::mac);
    const QPointer<MainWindow> first = &open();
    open();
    command("Close").trigger();
    expectWindows(1);
    EXPECT_TRUE(first);
    command("Close").trigger();
    expectWindows(0);
    EXPECT_FALSE(QApplication::quitOnLastWindowClosed());
    command("Close").trigger();
    QApplicationStateChangeEvent comesBack(Qt::ApplicationActive);
    QApplication::sendEvent(qApp, &comesBack);
    expectWindows(1);
    command("New Window").trigger();
    expectWindows(2);
}

TEST_F(VestigoAppTest, OnAMacCloseLeavesAWindowWhoseSheetWaitsAndAllOthers) {
    start(MenuStyle::mac);
    auto& first = open();
    open();
    first.content().showHelpRequested();
    ASSERT_TRUE(QTest::qWaitFor([] { return QApplication::activeModalWidget() != nullptr; }));
    QApplication::setActiveWindow(QApplication::activeModalWidget());
    command("Close").trigger();
    EXPECT_FALSE(QTest::qWaitFor([] { return topLevels<MainWindow>().size() != 2; }, 50));
}

TEST_F(VestigoAppTest, OnAMacTheMenusActOnTheActiveWindowAndListAll) {
    start(MenuStyle::mac);
    auto& first = open("First");
    auto& second = open("Second");
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

TEST_F(VestigoAppTest, OnAMacTheMenusEditTextWhereTheFocusIs) {
    start(MenuStyle::mac);
    auto& window = open();
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
    text.setReadOnly(true);
    text.setFocus();
    EXPECT_FALSE(command("Paste").isEnabled());
}

}  // namespace
}  // namespace vestigo::test
