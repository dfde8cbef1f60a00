#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTextDocumentFragment>
#include <QTextEdit>

#include "tests/support/on_screen.h"
#include "ui/widgets/log_view.h"
#include "ui/widgets/path_list.h"

namespace vestigo::test {
namespace {

using Texts = std::vector<std::string>;

/// What a tooltip says once it is drawn.
std::string drawn(const QString& toolTip) {
    if (!Qt::mightBeRichText(toolTip)) return toolTip.toStdString();
    return QTextDocumentFragment::fromHtml(toolTip).toPlainText().toStdString();
}

class SheetsTest : public WindowTest {
protected:
    SheetsTest() {
        fixture.homebrew.brew = tree.at("brew");
        fixture.foundAll({root, copy});
    }
    QDialog& openReinstall() {
        content().requestReinstall(*content().groupWithRoot(root));
        return opened("reinstall");
    }
    static std::string logOn(const QDialog& dialog) {
        return part<QPlainTextEdit>(dialog, "log").toPlainText().toStdString();
    }
    void reportEnd(int status) {
        fixture.endReinstall(status);
        refresh();
    }

    TemporaryTree tree;
    const std::string root = "/usr/local/Cellar/wget<b>/1.2/bin/wget";
    const std::string copy = tree.file("tool");
};

TEST_F(SheetsTest, OnlyItsButtonsLeadOutOfTheDisclaimerAndHelpBesideItCanBeReached) {
    fixture.settings->setAcceptedDisclaimer(false);
    open();
    content().showHelpRequested();
    auto& disclaimer = opened("disclaimer");
    const auto place = disclaimer.pos() - window->pos();
    window->move(window->pos() + QPoint(120, 80));
    EXPECT_TRUE(QTest::qWaitFor([&] { return disclaimer.pos() - window->pos() == place; }));
    QTest::keyClick(&disclaimer, Qt::Key_Escape);
    disclaimer.close();
    auto& pages = part<QScrollArea>(opened("help"), "pages");
    QTest::keyClick(&pages, Qt::Key_PageDown);
    EXPECT_GT(pages.verticalScrollBar()->value(), 0);
    QTest::keyClick(&opened("help"), Qt::Key_Escape);
    EXPECT_FALSE(content().showHelp() || sheet("help"));
    EXPECT_EQ(sheet("disclaimer"), &disclaimer);
    keyOn(part(disclaimer, "quit"), Qt::Key_Return);
    EXPECT_TRUE(fixture.terminated);
    EXPECT_FALSE(fixture.settings->acceptedDisclaimer());
    keyOn(part(disclaimer, "accept"), Qt::Key_Return);
    content().windowAppeared();
    EXPECT_FALSE(sheet("disclaimer"));
}

TEST_F(SheetsTest, ReturnPressesTheFocusedButtonAndElseTheDefaultOne) {
    open();
    const auto& group = *content().groupWithRoot(copy);
    const std::function<void()> remove = [&] { content().requestDeleteOfRow(group); };
    const std::function<void()> inspect = [&] { content().inspect(group); };
    const struct {
        const char* sheet;
        std::function<void()> open;
        const char* focus;
        bool stays = false;
    } cases[] = {{"delete", remove, "cancel"},
                 {"delete", remove, "groups", true},
                 {"reinstall", [&] { openReinstall(); }, "close"},
                 {"inspect", inspect, "reveal", true},
                 {"inspect", inspect, "binaries"},
                 {"alert", [&] { content().showAlert("A message"); }, "ok"},
                 {"about", [&] { content().showAboutRequested(); }, "close"},
                 {"help", [&] { content().showHelpRequested(); }, "pages"}};
    for (const auto& [name, openSheet, focus, stays] : cases) {
        openSheet();
        keyOn(part(opened(name), focus), Qt::Key_Return);
        EXPECT_EQ(sheet(name) != nullptr, stays) << name << " " << focus;
        content().cancelDelete();
        content().closeInspect();
    }
    EXPECT_EQ(fixture.authentication->reasons.size(), 1U);
    EXPECT_EQ(fixture.desktop->revealed, std::vector{copy});
    EXPECT_TRUE(fixture.processes->started.empty());
    EXPECT_FALSE(scanning());
}

TEST_F(SheetsTest, InspectFollowsTheFindingsAndKeepsWhatIsSelectedInIt) {
    const std::string app = "/Applications/Foo.app";
    fixture.foundAll({app + "/b", app + "/a"});
    open();
    content().inspect(*content().groupWithRoot(app));
    auto& list = part<QTextEdit>(opened("inspect"), "binaries");
    EXPECT_EQ(list.toPlainText(), "x86_64\ta\nx86_64\tb");
    list.selectAll();
    content().scanner().adopt(*fixture.store->record);
    refresh();
    EXPECT_TRUE(list.textCursor().hasSelection());
    content().scanner().pruneHits(app + "/b");
    refresh();
    EXPECT_EQ(list.toPlainText(), "x86_64\ta");
}

TEST_F(SheetsTest, AnAlertShowsTheLatestMessageAsPlainTextThatFitsTheScreen) {
    open();
    content().showAlert("First");
    auto& alert = opened("alert");
    content().showAlert("Cannot move “<b>x</b>”");
    EXPECT_EQ(sheet("alert"), &alert);
    const auto& message = part<QLabel>(alert, "message");
    EXPECT_EQ(message.text(), "Cannot move “<b>x</b>”");
    EXPECT_EQ(message.textFormat(), Qt::PlainText);
    EXPECT_EQ(alert.accessibleDescription(), message.text());
    std::string lines;
    for (int line = 0; line < 200; ++line) lines += "line\n";
    content().showAlert(lines);
    EXPECT_EQ(sheet("alert"), &alert);
    refresh();  // Laid out.
    EXPECT_LT(alert.height(), alert.screen()->availableSize().height());
    QTest::keyClick(&alert, Qt::Key_Escape);
    EXPECT_FALSE(content().alert() || sheet("alert"));
}

TEST_F(SheetsTest, ReinstallRunsTheCommandThatItShows) {
    open();
    auto& dialog = openReinstall();
    EXPECT_EQ(part<QLabel>(dialog, "command").text(),
              "arch -arm64 /opt/homebrew/bin/brew reinstall wget<b>");
    key(Qt::Key_Return);
    EXPECT_TRUE(logOn(dialog).starts_with("arm64 Homebrew not found at /opt/homebrew.\nInstall"));
    EXPECT_TRUE(fixture.processes->started.empty());

    tree.file("brew");
    key(Qt::Key_Return);
    key(Qt::Key_Return);  // Nothing: it runs.
    EXPECT_EQ(sheet("reinstall"), &dialog);
    ASSERT_EQ(fixture.processes->started.size(), 1U);
    EXPECT_FALSE(part(dialog, "run").isEnabled());
    EXPECT_TRUE(part(dialog, "running").isVisible());
    fixture.processes->print("==> Fetching ü\n");
    reportEnd(1);
    EXPECT_EQ(logOn(dialog),
              "$ arch -arm64 brew reinstall wget<b>\n==> Fetching ü\n\nFinished. Exit code 1.");
    EXPECT_TRUE(part(dialog, "run").isEnabled());
    EXPECT_FALSE(part(dialog, "removeOldCopy").isVisible());
    click(part(dialog, "run"));
    reportEnd(0);
    EXPECT_TRUE(part(dialog, "removeOldCopy").isVisible());
}

TEST_F(SheetsTest, TheOldCopyIsOfferedAlsoWhenTheSheetWasClosedMeanwhile) {
    tree.file("brew");
    open();
    auto* dialog = &openReinstall();
    click(part(*dialog, "run"));
    click(part(*dialog, "close"));
    EXPECT_FALSE(sheet("reinstall"));
    reportEnd(0);
    // An answer that comes after the sheet was closed is for nobody.
    dialog = &openReinstall();
    click(part(*dialog, "removeOldCopy"));
    click(part(*dialog, "close"));
    fixture.authentication->answer(true);
    fixture.settle();
    EXPECT_TRUE(fixture.trash->taken.empty());

    dialog = &openReinstall();
    EXPECT_EQ(drawn(part(*dialog, "oldCopy").toolTip()), "/usr/local/Cellar/wget<b>");
    click(part(*dialog, "removeOldCopy"));
    EXPECT_EQ(fixture.authentication->reasons.back(), "confirm removing the old Intel build");
    fixture.authentication->answer(true);
    fixture.settle();
    refresh();
    EXPECT_EQ(fixture.trash->taken, Texts{"/usr/local/Cellar/wget<b>"});
    EXPECT_FALSE(content().groupWithRoot(root));
    EXPECT_EQ(logOn(*dialog),
              "\nMoved /usr/local/Cellar/wget<b> to Trash.\nCleaned 0 dead symlinks. You can close "
              "this.");
}

TEST_F(SheetsTest, ReinstallsThatOutlivedTheProgramAreToldOf) {
    const auto note = std::string("wget<b>").append(1, '\0') + root;
    fixture.processes->left = {{note, false}, {"curl", true}};
    open();
    reportEnd(0);
    const auto message = part<QLabel>(opened("alert"), "message").text();
    EXPECT_TRUE(
        message.startsWith("The reinstall of “wget<b>” that was started earlier has ended"));
    EXPECT_TRUE(message.contains("\n\nHomebrew is still reinstalling “curl”"));
    EXPECT_TRUE(content().runningReinstallNotice() && content().updating());
    content().dismissAlert();
    EXPECT_TRUE(part(openReinstall(), "oldCopy").isVisible());
    reportEnd(1);
    EXPECT_TRUE(content().alert());
    EXPECT_FALSE(content().runningReinstallNotice() || content().updating());
}

TEST(LogView, AppendsALongLogAndFollowsItsEndUnlessTheUserReadsEarlierLines) {
    UpdateLog log;
    LogView view(log);
    view.resize(300, 200);
    view.show();
    const auto add = [&](const std::string& text) {
        log.append(text);
        view.refresh();
        return QTest::qWaitFor([&] { return view.isComplete(); });
    };
    std::string text;
    for (int line = 0; line < 20000; ++line) text += "Zeile für Zeile\n";
    ASSERT_TRUE(add(text));
    EXPECT_EQ(view.toPlainText().toStdString(), text);
    auto& bar = *view.verticalScrollBar();
    EXPECT_EQ(bar.value(), bar.maximum());
    bar.setValue(7);
    ASSERT_TRUE(add("m\xC3") && add("\xB6re\n"));
    EXPECT_TRUE(view.toPlainText().endsWith("\nmöre\n"));
    EXPECT_EQ(bar.value(), 7);
}

class DeleteSheetTest : public WindowTest {
protected:
    DeleteSheetTest() {
        tree.file("Foo.app/Contents/Info.plist",
                  "<plist><dict><key>CFBundleIdentifier</key><string>com.example.foo</string>"
                  "</dict></plist>");
        tree.file("home/Library/Preferences/com.example.foo.plist");
        tree.folder("home/Library/Logs/Foo");
        tree.file("Library/LaunchDaemons/com.example.foo.plist");
        fixture.places = {.home = tree.at("home"), .library = tree.at("Library")};
        fixture.foundAll({tree.file("Foo.app/Contents/MacOS/Foo"), tool});
    }
    QDialog& openFor(const RootSet& roots) {
        content().setSelection(roots);
        content().requestDeleteOfSelection();
        return opened("delete");
    }
    static PathList& list(const QDialog& dialog, const char* name) {
        return part<PathList>(dialog, name);
    }
    void clickLine(PathList& list, int row, Qt::MouseButton button = Qt::LeftButton) {
        const auto place = list.visualRect(list.model()->index(row, 0)).center();
        QTest::mouseClick(list.viewport(), button, {}, place);
        refresh();
    }
    void expectSelected(const QDialog& dialog, int count) {
        EXPECT_EQ(part<QLabel>(dialog, "leftoversHeading").text(),
                  QString("Also found leftover files (%1 selected):").arg(count));
    }
    void answer(bool confirmed) {
        fixture.authentication->answer(confirmed);
        fixture.settle();
    }

    TemporaryTree tree;
    const std::string app = tree.at("Foo.app");
    const std::string tool = tree.file("<b>tool</b> &amp;  y");
};

TEST_F(DeleteSheetTest, RemovesWhatIsTickedOnceTheOwnerAgrees) {
    open();
    auto& dialog = openFor({app, tool});
    const auto& groups = *list(dialog, "groups").model();
    ASSERT_EQ(groups.rowCount(), 2);
    EXPECT_EQ(drawn(groups.index(1, 0).data(Qt::ToolTipRole).toString()), tool);
    auto& leftovers = list(dialog, "leftovers");
    ASSERT_EQ(leftovers.model()->rowCount(), 3);
    const auto spoken = [&](int row) {
        return leftovers.model()->index(row, 0).data(Qt::AccessibleTextRole).toString();
    };
    EXPECT_TRUE(spoken(1).endsWith(".plist, admin") && spoken(2).endsWith("Foo, name match"));
    expectSelected(dialog, 2);
    clickLine(leftovers, 2);
    expectSelected(dialog, 3);
    clickLine(leftovers, 2, Qt::RightButton);
    leftovers.setCurrentIndex(leftovers.model()->index(1, 0));
    keyOn(leftovers, Qt::Key_Space);
    expectSelected(dialog, 2);
    EXPECT_EQ(leftovers.currentIndex().row(), 1);

    key(Qt::Key_Return);
    EXPECT_EQ(fixture.authentication->reasons, Texts{"confirm moving 2 item(s) to the Trash"});
    answer(false);
    EXPECT_TRUE(fixture.trash->taken.empty());
    EXPECT_EQ(sheet("delete"), &dialog);
    click(part(dialog, "moveToTrash"));
    answer(true);
    EXPECT_EQ(fixture.trash->taken,
              (Texts{app, tool, tree.at("home/Library/Preferences/com.example.foo.plist"),
                     tree.at("home/Library/Logs/Foo")}));
    EXPECT_FALSE(sheet("delete") || content().alert());
    EXPECT_TRUE(content().selection().empty());
    EXPECT_EQ(part<QLabel>("summary").text(), "0 items · 0 Intel files");
}

TEST_F(DeleteSheetTest, CancelRemovesNothingAndForgetsTheChoices) {
    open();
    // The second click of two that were meant for what was there before ticks nothing.
    QApplication::setDoubleClickInterval(50000);
    auto& sudden = openFor({app});
    clickLine(list(sudden, "leftovers"), 0);
    expectSelected(sudden, 2);
    QApplication::setDoubleClickInterval(0);
    content().cancelDelete();
    refresh();

    auto& first = openFor({app});
    clickLine(list(first, "leftovers"), 0);
    expectSelected(first, 1);
    key(Qt::Key_Escape);
    EXPECT_FALSE(sheet("delete"));
    EXPECT_TRUE(content().leftovers().empty());
    auto& second = openFor({app});
    expectSelected(second, 2);

    // What the owner answers after that comes to nothing.
    click(part(second, "moveToTrash"));
    click(part(second, "cancel"));
    auto& third = openFor({tool});
    EXPECT_FALSE(list(third, "leftovers").isVisible());
    answer(true);
    EXPECT_TRUE(fixture.trash->taken.empty());
    click(part(third, "moveToTrash"));
    EXPECT_EQ(fixture.authentication->reasons.size(), 2U);
}

TEST_F(DeleteSheetTest, LeftoversGoFromTheListWithTheirApplication) {
    fixture.inspect = [this](const std::string& root) {
        return SignInfo{root == app, "Software Signing"};
    };
    open();
    auto& dialog = openFor({app, tool});
    EXPECT_EQ(content().leftovers().size(), 3U);
    fixture.settle();
    refresh();
    EXPECT_TRUE(content().leftovers().empty());
    EXPECT_EQ(list(dialog, "groups").model()->rowCount(), 1);
}

TEST_F(DeleteSheetTest, AFailureIsShownAndWhatFailedStaysInTheTable) {
    fixture.authentication->canAsk = false;
    fixture.trash->error = "The Trash is full.";
    open();
    auto& dialog = openFor({tool});
    key(Qt::Key_Return);
    EXPECT_TRUE(part(dialog, "checking").isVisible());
    fixture.settle();
    EXPECT_FALSE(sheet("delete"));
    EXPECT_TRUE(sheet("alert"));
    EXPECT_EQ(content().alert(), "The Trash is full.");
    EXPECT_EQ(content().groupCount(), 2U);
}

}  // namespace
}  // namespace vestigo::test
