#include "app/vestigo_app.h"

#include <QAction>
#include <QApplication>
#include <QMenuBar>
#include <QTest>
#include <memory>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/window_fakes.h"

namespace vestigo::test {
namespace {

struct UpdaterState {
    int checks = 0;
    bool automatic = true;
};

class FakeUpdater : public Updater {
public:
    explicit FakeUpdater(UpdaterState& state) : state_(state) {}
    void checkForUpdates() override { ++state_.checks; }
    bool automaticallyChecksForUpdates() const override { return state_.automatic; }
    void setAutomaticallyChecksForUpdates(bool value) override { state_.automatic = value; }

private:
    UpdaterState& state_;
};

QAction& command(MainWindow& window, const QString& text) {
    for (auto* const action : window.menuBar()->findChildren<QAction*>()) {
        if (action->text() == text) return *action;
    }
    throw std::runtime_error("no command " + text.toStdString());
}

QStringList applicationMenu(MainWindow& window) {
    QStringList texts;
    for (auto* const action : window.menuBar()->actions().front()->menu()->actions()) {
        texts << (action->isSeparator() ? QStringLiteral("-") : action->text());
    }
    return texts;
}

class VestigoAppTest : public testing::Test {
protected:
    WindowFixture fixture;
    UpdaterState updates;
    VestigoApp app{fixture.services(), std::make_unique<FakeUpdater>(updates), "1.2"};
};

TEST_F(VestigoAppTest, TheApplicationMenuHoldsTheUpdateCommandsWhereThereIsAnUpdater) {
    auto& window = app.openWindow();
    EXPECT_EQ(applicationMenu(window),
              (QStringList{"About Vestigo", "-", "Check for Updates…",
                           "Automatically Check for Updates", "-", "Quit Vestigo"}));
    command(window, "Check for Updates…").trigger();
    EXPECT_EQ(updates.checks, 1);
    auto& automatically = command(window, "Automatically Check for Updates");
    EXPECT_TRUE(automatically.isChecked());
    automatically.trigger();
    EXPECT_FALSE(updates.automatic);

    VestigoApp without(fixture.services(), nullptr, "");
    EXPECT_EQ(applicationMenu(without.openWindow()),
              (QStringList{"About Vestigo", "-", "Quit Vestigo"}));
}

TEST_F(VestigoAppTest, NotificationsAndSettingsReachEveryWindow) {
    auto& first = app.openWindow();
    command(first, "New Window").trigger();
    std::vector<ContentView*> contents;
    for (auto* const widget : QApplication::topLevelWidgets()) {
        if (auto* const each = qobject_cast<MainWindow*>(widget)) {
            contents.push_back(&each->content());
        }
    }
    ASSERT_EQ(contents.size(), 2U);
    EXPECT_NE(&contents[0]->scanner(), &contents[1]->scanner());
    command(first, "Vestigo Help").trigger();
    command(first, "About Vestigo").trigger();
    int told = 0;
    std::vector<Subscription> hearing;
    for (auto* const content : contents) {
        EXPECT_TRUE(content->showHelp() && content->showAbout());
        hearing.push_back(content->subscribe(
            [&told](ContentField field) { told += field == ContentField::fontDelta ? 1 : 0; }));
    }
    first.content().setFontDelta(8);
    EXPECT_EQ(told, 2);
}

TEST_F(VestigoAppTest, AClosedWindowIsGoneAndTheOthersStay) {
    auto& first = app.openWindow();
    auto& second = app.openWindow();
    bool gone = false;
    QObject::connect(&first, &QObject::destroyed, [&gone] { gone = true; });
    first.content().scanPressed();
    command(first, "Close").trigger();
    EXPECT_TRUE(QTest::qWaitFor([&gone] { return gone; }));
    fixture.settle();
    command(second, "Vestigo Help").trigger();
    EXPECT_TRUE(second.content().showHelp());
    command(second, "Quit Vestigo").trigger();
    EXPECT_TRUE(fixture.terminated);
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
