#include "ui/main_window.h"

#include <QLabel>
#include <QPointer>

#include "tests/support/on_screen.h"

namespace vestigo::test {
namespace {

class MainWindowTest : public testing::Test {
protected:
    ~MainWindowTest() override { delete window; }
    void open() {
        window = new MainWindow(fixture.services(), "1.0");
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window));
        window->content().chooseFolder("/nowhere");
    }
    /// What the status bar says, part by part.
    QStringList status() {
        QCoreApplication::processEvents();
        QStringList shownTexts;
        for (const auto* const label : part(*window, "status").findChildren<QLabel*>()) {
            if (label->isVisible()) shownTexts << label->text();
        }
        return shownTexts;
    }
    bool scanning() { return window->content().scanner().scanning(); }

    WindowFixture fixture;
    QPointer<MainWindow> window;
};

TEST_F(MainWindowTest, SaysWhatTheLastScanFound) {
    qputenv("TZ", "UTC");
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    fixture.found("/Applications/A.app/a");
    fixture.found("/Applications/A.app/b");
    fixture.store->record->date = 800000000.0;
    open();
    auto texts = status();
    QLocale::setDefault(QLocale::system());
    EXPECT_EQ(texts.replaceInStrings(QString(QChar(0x202f)), " "),
              QStringList({"1 items · 2 Intel files", "Last scan: May 9, 2026, 6:13 AM"}));
}

TEST_F(MainWindowTest, ScansOnReturnWhereverTheFocusIs) {
    open();
    auto& results = part(*window, "results");
    EXPECT_TRUE(results.hasFocus());
    QTest::keyClick(&results, Qt::Key_Return);
    EXPECT_TRUE(scanning());
    QCoreApplication::processEvents();
    QTest::keyClick(&results, Qt::Key_Return);  // Stops nothing.
    EXPECT_TRUE(scanning());
    window->content().scanner().stop();
    part(*window, "intelOnly").setFocus();
    QTest::keyClick(window->windowHandle(), Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_TRUE(scanning());
}

TEST_F(MainWindowTest, ClosesInTheMiddleOfAScan) {
    open();
    window->content().scanPressed();
    window->content().showHelpRequested();
    QCoreApplication::processEvents();
    window->close();
    ASSERT_TRUE(QTest::qWaitFor([this] { return window.isNull(); }));
    fixture.settle();  // What the scan still reports finds nobody.
}

}  // namespace
}  // namespace vestigo::test
