#include "ui/sheets/sheets.h"

#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTextEdit>

#include "tests/support/on_screen.h"

namespace vestigo::test {
namespace {

TEST_F(SheetsTest, OnlyItsButtonsLeadOutOfTheDisclaimerAndHelpBesideItCanBeReached) {
    fixture.settings->setAcceptedDisclaimer(false);
    content().windowAppeared();
    show();
    content().showHelpRequested();
    auto& disclaimer = opened("disclaimer");
    const auto place = disclaimer.pos() - window.pos();
    window.move(window.pos() + QPoint(120, 80));
    EXPECT_TRUE(QTest::qWaitFor([&] { return disclaimer.pos() - window.pos() == place; }));
    QTest::keyClick(&disclaimer, Qt::Key_Escape);
    disclaimer.close();
    click(part(opened("help"), "close"));
    EXPECT_FALSE(sheet("help"));
    EXPECT_EQ(sheet("disclaimer"), &disclaimer);
    click(part(disclaimer, "quit"));
    EXPECT_TRUE(fixture.terminated);
    EXPECT_FALSE(fixture.settings->acceptedDisclaimer());
    QTest::keyClick(&disclaimer, Qt::Key_Return);
    EXPECT_FALSE(sheet("disclaimer"));
    content().windowAppeared();
    EXPECT_FALSE(sheet("disclaimer"));
}

TEST_F(SheetsTest, HelpScrollsItsPagesAndClosesInEveryUsualWay) {
    show();
    content().showHelpRequested();
    auto& pages = part<QScrollArea>(opened("help"), "pages");
    ASSERT_TRUE(QTest::qWaitFor([&] { return pages.hasFocus(); }));
    QTest::keyClick(&pages, Qt::Key_PageDown);
    EXPECT_GT(pages.verticalScrollBar()->value(), 0);
    QTest::keyClick(&pages, Qt::Key_Return);
    EXPECT_FALSE(sheet("help"));
    content().showHelpRequested();
    QTest::keyClick(&opened("help"), Qt::Key_Escape);
    EXPECT_FALSE(content().showHelp() || sheet("help"));
}

TEST_F(SheetsTest, InspectListsTheBinariesAndFollowsTheFindings) {
    const std::string root = "/Applications/Foo.app";
    fixture.found(root + "/Contents/b", {"x86_64", "i386"});
    fixture.found(root + "/Contents/MacOS/Foo", {"x86_64", "arm64"});
    fixture.found(root + "2/other");
    fixture.found("/usr/local/bin/tool");
    show();
    content().inspect(*content().groupWithRoot(root));
    auto& inspect = opened("inspect");
    auto& list = part<QTextEdit>(inspect, "binaries");
    EXPECT_EQ(list.toPlainText(), "arm64, x86_64\tContents/MacOS/Foo\ni386, x86_64\tContents/b");
    list.selectAll();
    content().scanner().saveCache();
    refresher->flush();
    EXPECT_TRUE(list.textCursor().hasSelection());
    content().scanner().pruneHits(root + "/Contents/b");
    refresher->flush();
    EXPECT_EQ(list.toPlainText(), "arm64, x86_64\tContents/MacOS/Foo");

    part<QPushButton>(inspect, "reveal").click();
    EXPECT_EQ(fixture.desktop->revealed, std::vector{root});
    list.setFocus();
    QTest::keyClick(&list, Qt::Key_Return);
    EXPECT_FALSE(content().inspectGroup() || sheet("inspect"));

    // A file that is its own group.
    content().inspect(*content().groupWithRoot("/usr/local/bin/tool"));
    EXPECT_EQ(part<QTextEdit>(opened("inspect"), "binaries").toPlainText(),
              "x86_64\t/usr/local/bin/tool");
}

TEST_F(SheetsTest, AnAlertShowsTheLatestMessageAsPlainText) {
    show();
    content().showAlert("First");
    auto& alert = opened("alert");
    content().showAlert("Cannot move “<b>x</b>”");
    EXPECT_EQ(sheet("alert"), &alert);
    const auto& message = part<QLabel>(alert, "message");
    EXPECT_EQ(message.text(), "Cannot move “<b>x</b>”");
    EXPECT_EQ(message.textFormat(), Qt::PlainText);
    QTest::keyClick(&alert, Qt::Key_Escape);
    EXPECT_FALSE(content().alert() || sheet("alert"));
}

}  // namespace
}  // namespace vestigo::test
