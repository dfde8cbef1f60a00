#include "app/vestigo_app.h"

#include <QAction>
#include <QApplication>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace vestigo::test
