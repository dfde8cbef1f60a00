#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QPointer>
#include <QWindow>

#include "tests/support/on_screen.h"
#include "tests/support/temporary_tree.h"
#include "ui/main_window.h"

namespace vestigo::test {
namespace {

/// Return goes through the whole window system here, as it does from a keyboard.
class ReturnKeyTest : public testing::Test {
protected:
    ReturnKeyTest() {
        fixture.found(root);
        fixture.homebrew.brew = tree.file("brew");
        window = new MainWindow(fixture.services(), "1.0");
        window->show();
    }
    ~ReturnKeyTest() override { delete window; }

    ContentView& content() { return window->content(); }
    /// The topmost sheet, which must be of this name.
    QWidget& sheet(const char* name) {
        auto* top = QApplication::activeModalWidget();
        const bool isOpen = QTest::qWaitFor([&] {
            top = QApplication::activeModalWidget();
            return top && top->objectName() == name;
        });
        if (!isOpen || !QTest::qWaitForWindowActive(top)) {
            throw std::runtime_error(std::string("no open sheet ") + name);
        }
        return *top;
    }
    void press(Qt::Key key) {
        QTest::keyClick(QApplication::focusWindow(), key);
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
    }
    void pressReturnOn(const QWidget& whole, const char* name) {
        auto& widget = part(whole, name);
        widget.activateWindow();
        widget.setFocus();
        ASSERT_TRUE(QTest::qWaitFor([&] { return widget.hasFocus(); })) << name;
        press(Qt::Key_Return);
    }
    void openDelete() {
        content().setSelection({root});
        content().requestDeleteOfSelection();
    }
    bool scanning() { return content().scanner().scanning(); }

    TemporaryTree tree;
    const std::string root = tree.file("Cellar/wget/1.2/bin/wget");
    WindowFixture fixture;
    QPointer<MainWindow> window;
};

TEST_F(ReturnKeyTest, PressesTheFocusedButtonOfASheet) {
    openDelete();
    pressReturnOn(sheet("delete"), "cancel");
    EXPECT_FALSE(content().showDeleteConfirm());
    EXPECT_TRUE(fixture.authentication->reasons.empty());

    fixture.settings->setAcceptedDisclaimer(false);
    content().windowAppeared();
    pressReturnOn(sheet("disclaimer"), "quit");
    EXPECT_TRUE(fixture.terminated);
    EXPECT_FALSE(content().acceptedDisclaimer());
    content().acceptDisclaimer();

    content().requestReinstall(*content().groupWithRoot(root));
    pressReturnOn(sheet("reinstall"), "close");
    EXPECT_FALSE(content().updateTarget());
    EXPECT_TRUE(fixture.processes->started.empty());

    content().inspect(*content().groupWithRoot(root));
    pressReturnOn(sheet("inspect"), "reveal");
    EXPECT_EQ(fixture.desktop->revealed, std::vector{root});
    EXPECT_TRUE(content().inspectGroup());
}

TEST_F(ReturnKeyTest, PressesTheDefaultButtonOfASheetFromAnywhereElse) {
    content().showAlert("A message");
    sheet("alert");
    press(Qt::Key_Return);
    EXPECT_FALSE(content().alert());

    content().showAboutRequested();
    sheet("about");
    press(Qt::Key_Return);
    EXPECT_FALSE(content().showAbout());

    content().showHelpRequested();
    pressReturnOn(sheet("help"), "pages");
    EXPECT_FALSE(content().showHelp());

    content().inspect(*content().groupWithRoot(root));
    pressReturnOn(sheet("inspect"), "binaries");
    EXPECT_FALSE(content().inspectGroup());

    fixture.settings->setAcceptedDisclaimer(false);
    content().windowAppeared();
    sheet("disclaimer");
    press(Qt::Key_Return);
    EXPECT_TRUE(content().acceptedDisclaimer());

    openDelete();
    pressReturnOn(sheet("delete"), "groups");
    EXPECT_EQ(fixture.authentication->reasons.size(), 1U);
    content().cancelDelete();

    content().requestReinstall(*content().groupWithRoot(root));
    auto& reinstall = sheet("reinstall");
    press(Qt::Key_Return);
    press(Qt::Key_Return);  // Nothing: it runs.
    EXPECT_EQ(fixture.processes->started.size(), 1U);
    EXPECT_EQ(&sheet("reinstall"), &reinstall);
    EXPECT_FALSE(scanning());
}

TEST_F(ReturnKeyTest, PressesTheFocusedButtonOfTheToolbarAndElseScans) {
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    content().chooseFolder("/nowhere");
    content().setSelection({root});
    QCoreApplication::processEvents();
    pressReturnOn(*window, "moveToTrash");
    sheet("delete");
    content().cancelDelete();
    pressReturnOn(*window, "clearFolder");
    EXPECT_FALSE(content().customRoot());
    content().chooseFolder("/nowhere");

    auto& choice = part<QComboBox>(*window, "categoryFilter");
    choice.setFocus();
    choice.showPopup();
    QTest::keyClick(choice.view(), Qt::Key_Down);
    QTest::keyClick(choice.view(), Qt::Key_Return);
    EXPECT_EQ(content().categoryFilter(), Category::application);
    EXPECT_FALSE(scanning());
    pressReturnOn(*window, "categoryFilter");
    EXPECT_TRUE(scanning());
    pressReturnOn(*window, "stop");
    EXPECT_FALSE(scanning());
}

}  // namespace
}  // namespace vestigo::test
