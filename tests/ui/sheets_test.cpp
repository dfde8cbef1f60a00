#include "ui/sheets.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QTextEdit>

#include <gtest/gtest.h>

#include "tests/support/sheets_fixture.h"

namespace vestigo::test {
namespace {

TEST_F(SheetsTest, OnlyItsButtonsLeadOutOfTheDisclaimer) {
    fixture.settings->setAcceptedDisclaimer(false);
    content().windowAppeared();
    show();
    auto* const disclaimer = sheet("disclaimer");
    ASSERT_TRUE(disclaimer);
    EXPECT_EQ(disclaimer->windowModality(), Qt::WindowModal);
    EXPECT_EQ(disclaimer->width(), 540);
    QTest::keyClick(disclaimer, Qt::Key_Escape);
    disclaimer->close();
    EXPECT_EQ(sheet("disclaimer"), disclaimer);
    disclaimer->findChild<QPushButton*>("quit")->click();
    EXPECT_TRUE(fixture.terminated);
    EXPECT_FALSE(fixture.settings->acceptedDisclaimer());
    QTest::keyClick(disclaimer, Qt::Key_Return);
    EXPECT_TRUE(fixture.settings->acceptedDisclaimer());
    EXPECT_FALSE(sheet("disclaimer"));
}

TEST_F(SheetsTest, HelpScrollsItsPagesAndClosesInEveryUsualWay) {
    show();
    content().showHelpRequested();
    auto* help = sheet("help");
    ASSERT_TRUE(help);
    auto* const pages = help->findChild<QScrollArea*>("pages");
    EXPECT_EQ(help->width(), 560);
    EXPECT_EQ(pages->height(), 460);
    EXPECT_GT(pages->verticalScrollBar()->maximum(), 0);
    EXPECT_EQ(pages->horizontalScrollBar()->maximum(), 0);
    EXPECT_TRUE(textsOf(*help).contains(
        "<b>arm64</b>: Apple Silicon native. This is good, and it is not flagged."));
    ASSERT_TRUE(QTest::qWaitFor([&] { return pages->hasFocus(); }));
    QTest::keyClick(pages, Qt::Key_PageDown);
    EXPECT_GT(pages->verticalScrollBar()->value(), 0);
    QTest::keyClick(pages, Qt::Key_Return);
    EXPECT_FALSE(content().showHelp());
    EXPECT_FALSE(sheet("help"));
    content().showHelpRequested();
    help = sheet("help");
    ASSERT_TRUE(help);
    QTest::keyClick(help, Qt::Key_Escape);
    EXPECT_FALSE(sheet("help"));
}

TEST_F(SheetsTest, AboutNamesTheVersion) {
    show("");
    content().showAboutRequested();
    auto* const about = sheet("about");
    ASSERT_TRUE(about);
    EXPECT_EQ(about->width(), 480);
    EXPECT_TRUE(textsOf(*about).contains("Version 1.0"));
    bool hasIcon = false;
    for (const auto* const label : about->findChildren<QLabel*>()) {
        hasIcon = hasIcon || label->size() == QSize(196, 196);
    }
    EXPECT_TRUE(hasIcon);
    about->close();
    EXPECT_FALSE(content().showAbout());
}

TEST_F(SheetsTest, InspectListsTheBinariesAndFollowsTheFindings) {
    fixture.found("/Applications/Foo.app/Contents/MacOS/Foo", {"x86_64", "arm64"});
    fixture.found("/Applications/Foo.app/Contents/b", {"x86_64", "i386"});
    show();
    content().inspect(*content().groupWithRoot("/Applications/Foo.app"));
    auto* const inspect = sheet("inspect");
    ASSERT_TRUE(inspect);
    auto* const list = inspect->findChild<QTextEdit*>("binaries");
    EXPECT_EQ(list->height(), 340);
    EXPECT_EQ(list->toPlainText(), "arm64, x86_64\tContents/MacOS/Foo\ni386, x86_64\tContents/b");
    list->selectAll();
    content().scanner().saveCache();
    refresher->flush();
    EXPECT_TRUE(list->textCursor().hasSelection());
    content().scanner().pruneHits("/Applications/Foo.app/Contents/b");
    refresher->flush();
    EXPECT_EQ(list->toPlainText(), "arm64, x86_64\tContents/MacOS/Foo");

    inspect->findChild<QPushButton*>("reveal")->click();
    EXPECT_EQ(fixture.desktop->revealed, std::vector<std::string>{"/Applications/Foo.app"});
    EXPECT_TRUE(sheet("inspect"));
    list->setFocus();
    QTest::keyClick(list, Qt::Key_Return);
    EXPECT_FALSE(content().inspectGroup());
    EXPECT_FALSE(sheet("inspect"));
}

TEST_F(SheetsTest, AnAlertShowsTheLatestMessageAsPlainText) {
    show();
    content().showAlert("First");
    auto* const alert = sheet("alert");
    ASSERT_TRUE(alert);
    content().showAlert("Cannot move “<b>x</b>”");
    EXPECT_EQ(sheet("alert"), alert);
    const auto* const message = alert->findChild<QLabel*>("message");
    EXPECT_EQ(message->text(), "Cannot move “<b>x</b>”");
    EXPECT_EQ(message->textFormat(), Qt::PlainText);
    content().showAlert(std::string(20000, 'x'));
    refresher->flush();
    EXPECT_LT(alert->sizeHint().height(), QGuiApplication::primaryScreen()->size().height());
    QTest::keyClick(alert, Qt::Key_Escape);
    EXPECT_FALSE(content().alert());
    EXPECT_FALSE(sheet("alert"));
}

TEST_F(SheetsTest, SeveralOpenSheetsCanAllBeReached) {
    fixture.settings->setAcceptedDisclaimer(false);
    content().windowAppeared();
    show();
    content().showHelpRequested();
    ASSERT_TRUE(sheet("help"));
    ASSERT_TRUE(sheet("disclaimer"));
    QTest::mouseClick(sheet("help")->findChild<QPushButton*>("close"), Qt::LeftButton);
    EXPECT_FALSE(sheet("help"));
    QTest::mouseClick(sheet("disclaimer")->findChild<QPushButton*>("accept"), Qt::LeftButton);
    EXPECT_FALSE(sheet("disclaimer"));
}

}  // namespace
}  // namespace vestigo::test
