#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <algorithm>

#include "tests/support/sheets_fixture.h"
#include "tests/support/temporary_tree.h"
#include "ui/log_view.h"
#include "ui/path_list.h"

namespace vestigo::test {
namespace {

class DeleteSheetTest : public SheetsTest {
protected:
    DeleteSheetTest() {
        tree.file("Foo.app/Contents/Info.plist",
                  "<plist><dict><key>CFBundleIdentifier</key><string>com.example.foo</string>"
                  "</dict></plist>");
        tree.file("home/Library/Preferences/com.example.foo.plist");
        tree.folder("home/Library/Logs/Foo");
        tree.file("Library/LaunchDaemons/com.example.foo.plist");
        fixture.places = {.home = tree.at("home"), .library = tree.at("Library")};
        fixture.found(tree.file("Foo.app/Contents/MacOS/Foo"));
        fixture.found(tree.file("tool"));
    }
    QDialog* open(const RootSet& roots) {
        content().setSelection(roots);
        content().requestDeleteOfSelection();
        return sheet("delete");
    }
    static PathList& leftoversOn(const QDialog& opened) {
        return *opened.findChild<PathList*>("leftovers");
    }
    static QString headingOn(const QDialog& opened) {
        return opened.findChild<QLabel*>("leftoversHeading")->text();
    }
    /// A click on the text of a line.
    void click(PathList& list, int row) {
        const auto line = list.visualRect(list.model()->index(row, 0));
        QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, line.center());
        refresher->flush();
    }

    TemporaryTree tree;
};

TEST_F(DeleteSheetTest, RemovesWhatIsTickedOnceTheOwnerAgrees) {
    show();
    auto* const opened = open({tree.at("Foo.app"), tree.at("tool")});
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->width(), 680);
    EXPECT_TRUE(textsOf(*opened).contains(
        "2 items will be moved to the Trash. You can restore them from the Trash until you empty "
        "it."));
    EXPECT_EQ(opened->findChild<PathList*>("groups")->model()->rowCount(), 2);
    auto& leftovers = leftoversOn(*opened);
    ASSERT_EQ(leftovers.model()->rowCount(), 3);
    EXPECT_EQ(
        leftovers.model()->index(1, 0).data(Qt::AccessibleTextRole).toString(),
        QString::fromStdString(tree.at("Library/LaunchDaemons/com.example.foo.plist")) + ", admin");
    EXPECT_EQ(headingOn(*opened), "Also found leftover files (2 selected):");

    click(leftovers, 2);
    EXPECT_EQ(headingOn(*opened), "Also found leftover files (3 selected):");
    leftovers.setFocus();
    leftovers.setCurrentIndex(leftovers.model()->index(1, 0));
    QTest::keyClick(&leftovers, Qt::Key_Space);
    refresher->flush();
    EXPECT_EQ(headingOn(*opened), "Also found leftover files (2 selected):");
    EXPECT_FALSE(content().leftovers()[1].on);

    QTest::keyClick(&leftovers, Qt::Key_Return);
    EXPECT_EQ(fixture.authentication->reasons,
              std::vector<std::string>{"confirm moving 2 item(s) to the Trash"});
    EXPECT_EQ(sheet("delete"), opened);
    fixture.authentication->answer(false);
    fixture.settle();
    EXPECT_TRUE(fixture.trash->taken.empty());
    EXPECT_EQ(sheet("delete"), opened);
    QTest::mouseClick(opened->findChild<QPushButton*>("moveToTrash"), Qt::LeftButton);
    fixture.authentication->answer(true);
    fixture.settle();
    EXPECT_EQ(fixture.trash->taken,
              (std::vector<std::string>{tree.at("Foo.app"), tree.at("tool"),
                                        tree.at("home/Library/Preferences/com.example.foo.plist"),
                                        tree.at("home/Library/Logs/Foo")}));
    EXPECT_FALSE(sheet("delete"));
    EXPECT_TRUE(content().selection().empty());
    EXPECT_EQ(content().groupCount(), 0U);
    EXPECT_FALSE(content().alert());
}

TEST_F(DeleteSheetTest, CancelRemovesNothingAndForgetsTheChoices) {
    show();
    auto* opened = open({tree.at("Foo.app")});
    ASSERT_TRUE(opened);
    EXPECT_TRUE(textsOf(*opened).contains(
        "1 item will be moved to the Trash. You can restore them from the Trash until you empty "
        "it."));
    click(leftoversOn(*opened), 0);
    EXPECT_EQ(headingOn(*opened), "Also found leftover files (1 selected):");
    QTest::keyClick(opened, Qt::Key_Escape);
    EXPECT_FALSE(sheet("delete"));
    EXPECT_TRUE(content().leftovers().empty());
    opened = open({tree.at("Foo.app")});
    ASSERT_TRUE(opened);
    EXPECT_EQ(headingOn(*opened), "Also found leftover files (2 selected):");
    QTest::mouseClick(opened->findChild<QPushButton*>("cancel"), Qt::LeftButton);
    EXPECT_FALSE(sheet("delete"));
    opened = open({tree.at("tool")});
    ASSERT_TRUE(opened);
    EXPECT_FALSE(leftoversOn(*opened).isVisible());
    EXPECT_TRUE(fixture.authentication->reasons.empty());
}

TEST_F(DeleteSheetTest, AnAnswerAfterCancelComesToNothing) {
    show();
    auto* opened = open({tree.at("Foo.app")});
    ASSERT_TRUE(opened);
    opened->findChild<QPushButton*>("moveToTrash")->click();
    opened->findChild<QPushButton*>("cancel")->click();
    opened = open({tree.at("tool")});
    ASSERT_TRUE(opened);
    fixture.authentication->answer(true);
    fixture.settle();
    EXPECT_TRUE(fixture.trash->taken.empty());
    opened->findChild<QPushButton*>("moveToTrash")->click();
    EXPECT_EQ(fixture.authentication->reasons.size(), 2U);
}

TEST_F(DeleteSheetTest, LeftoversGoFromTheListWithTheirApplication) {
    show();
    auto* const opened = open({tree.at("Foo.app"), tree.at("tool")});
    ASSERT_TRUE(opened);
    EXPECT_EQ(content().leftovers().size(), 3U);
    fixture.signedBy(tree.at("Foo.app"), "Software Signing", true);
    content().scanner().takeOver(*fixture.store->record);
    content().scanner().regroup();
    refresher->flush();
    EXPECT_TRUE(content().leftovers().empty());
    EXPECT_EQ(opened->findChild<PathList*>("groups")->model()->rowCount(), 1);
}

TEST_F(DeleteSheetTest, AFailureIsShownAndWhatFailedStaysInTheTable) {
    fixture.authentication->canAsk = false;
    fixture.trash->error = "The Trash is full.";
    show();
    auto* const opened = open({tree.at("tool")});
    ASSERT_TRUE(opened);
    QTest::keyClick(opened, Qt::Key_Return);
    EXPECT_FALSE(sheet("delete"));
    ASSERT_TRUE(sheet("alert"));
    EXPECT_EQ(content().alert(), "The Trash is full.");
    EXPECT_EQ(content().groupCount(), 2U);
}

class ReinstallSheetTest : public SheetsTest {
protected:
    ReinstallSheetTest() {
        fixture.homebrew.brew = tree.at("brew");
        fixture.found(root);
    }
    QDialog* open() {
        content().requestReinstall(*content().groupWithRoot(root));
        return sheet("reinstall");
    }
    static QString logOn(const QDialog& opened) {
        return opened.findChild<QPlainTextEdit*>("log")->toPlainText();
    }
    static QPushButton& button(const QDialog& opened, const char* name) {
        return *opened.findChild<QPushButton*>(QLatin1String(name));
    }
    void reportEnd(int status) {
        fixture.processes->end(status);
        fixture.settle();  // The output,
        fixture.settle();  // and then the end.
        refresher->flush();
    }

    const std::string root = "/usr/local/Cellar/wget/1.2/bin/wget";
    TemporaryTree tree;
};

TEST_F(ReinstallSheetTest, RunsTheCommandThatItShows) {
    show();
    auto* const opened = open();
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->width(), 560);
    EXPECT_EQ(opened->findChild<QLabel*>("formula")->text(), "wget");
    EXPECT_EQ(opened->findChild<QLabel*>("command")->text(),
              "arch -arm64 /opt/homebrew/bin/brew reinstall wget");
    EXPECT_FALSE(opened->findChild<QWidget*>("log")->isVisible());
    QTest::keyClick(opened, Qt::Key_Return);
    refresher->flush();
    EXPECT_TRUE(logOn(*opened).startsWith("arm64 Homebrew not found at /opt/homebrew.\nInstall"));
    EXPECT_TRUE(fixture.processes->started.empty());

    tree.file("brew");
    QTest::keyClick(opened, Qt::Key_Return);
    refresher->flush();
    ASSERT_EQ(fixture.processes->started.size(), 1U);
    EXPECT_FALSE(button(*opened, "run").isEnabled());
    EXPECT_TRUE(opened->findChild<QLabel*>("running")->isVisible());
    QTest::keyClick(opened, Qt::Key_Return);
    EXPECT_EQ(fixture.processes->started.size(), 1U);
    fixture.processes->print("==> Fetching ü\n");
    reportEnd(1);
    EXPECT_EQ(logOn(*opened),
              "$ arch -arm64 brew reinstall wget\n==> Fetching ü\n\nFinished. Exit code 1.");
    EXPECT_TRUE(button(*opened, "run").isEnabled());
    EXPECT_FALSE(button(*opened, "removeOldCopy").isVisible());
}

TEST_F(ReinstallSheetTest, OffersTheOldCopyAlsoWhenItWasClosedMeanwhile) {
    tree.file("brew");
    show();
    auto* opened = open();
    ASSERT_TRUE(opened);
    button(*opened, "run").click();
    button(*opened, "close").click();
    EXPECT_FALSE(sheet("reinstall"));
    reportEnd(0);
    EXPECT_TRUE(content().updatedIDs().contains(root));
    opened = open();
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->findChild<QLabel*>("oldCopy")->text(), "/usr/local/Cellar/wget");
    EXPECT_FALSE(opened->findChild<QWidget*>("log")->isVisible());

    button(*opened, "removeOldCopy").click();
    EXPECT_EQ(fixture.authentication->reasons,
              std::vector<std::string>{"confirm removing the old Intel build"});
    fixture.authentication->answer(true);
    fixture.settle();
    refresher->flush();
    EXPECT_EQ(fixture.trash->taken, std::vector<std::string>{"/usr/local/Cellar/wget"});
    EXPECT_EQ(content().groupCount(), 0U);
    EXPECT_EQ(logOn(*opened),
              "\nMoved /usr/local/Cellar/wget to Trash.\nCleaned 0 dead symlinks. You can close "
              "this.");
}

TEST(LogView, IsCompleteAndFollowsTheEndUnlessTheUserReadsEarlierLines) {
    UpdateLog log;
    LogView view(log);
    view.resize(300, 200);
    view.show();
    std::string text;
    for (int line = 0; line < 20000; ++line)
        text += "Zeile für Zeile " + std::to_string(line) + '\n';
    log.append(std::string_view(text).substr(0, 500));
    log.append(std::string_view(text).substr(500));
    const auto complete = [&] {
        view.refresh();
        return view.toPlainText() == QString::fromStdString(log.text());
    };
    ASSERT_TRUE(QTest::qWaitFor(complete));
    auto& bar = *view.verticalScrollBar();
    EXPECT_EQ(bar.value(), bar.maximum());

    bar.setValue(7);
    auto cursor = view.textCursor();
    cursor.setPosition(5, QTextCursor::KeepAnchor);
    view.setTextCursor(cursor);
    bar.setValue(7);
    log.append("more\n");
    ASSERT_TRUE(QTest::qWaitFor(complete));
    EXPECT_EQ(bar.value(), 7);
    EXPECT_TRUE(view.textCursor().hasSelection());
    log.replace("anew");
    ASSERT_TRUE(QTest::qWaitFor(complete));
}

}  // namespace
}  // namespace vestigo::test
