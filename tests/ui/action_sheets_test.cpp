#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTextDocumentFragment>

#include "tests/support/on_screen.h"
#include "tests/support/temporary_tree.h"
#include "ui/widgets/log_view.h"
#include "ui/widgets/path_list.h"

namespace vestigo::test {
namespace {

using Texts = std::vector<std::string>;

/// What a tooltip says once it is drawn.
QString drawn(const QString& toolTip) {
    if (!Qt::mightBeRichText(toolTip)) return toolTip;
    return QTextDocumentFragment::fromHtml(toolTip).toPlainText();
}

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
    QDialog& open(const RootSet& roots) {
        content().setSelection(roots);
        content().requestDeleteOfSelection();
        return opened("delete");
    }
    static PathList& list(const QDialog& dialog, const char* name) {
        return part<PathList>(dialog, name);
    }
    /// What the heading of the leftovers says.
    static QString selected(const QDialog& dialog) {
        return part<QLabel>(dialog, "leftoversHeading").text();
    }
    /// A click on the text of a line.
    void clickLine(PathList& list, int row) {
        click(*list.viewport(), list.visualRect(list.model()->index(row, 0)).center());
    }
    void answer(bool confirmed) {
        fixture.authentication->answer(confirmed);
        fixture.settle();
    }

    TemporaryTree tree;
};

TEST_F(DeleteSheetTest, RemovesWhatIsTickedOnceTheOwnerAgrees) {
    show();
    auto& dialog = open({tree.at("Foo.app"), tree.at("tool")});
    EXPECT_EQ(list(dialog, "groups").model()->rowCount(), 2);
    auto& leftovers = list(dialog, "leftovers");
    ASSERT_EQ(leftovers.model()->rowCount(), 3);
    EXPECT_EQ(selected(dialog), "Also found leftover files (2 selected):");

    clickLine(leftovers, 2);
    EXPECT_EQ(selected(dialog), "Also found leftover files (3 selected):");
    leftovers.setCurrentIndex(leftovers.model()->index(1, 0));
    key(leftovers, Qt::Key_Space);
    EXPECT_EQ(selected(dialog), "Also found leftover files (2 selected):");

    QTest::keyClick(&leftovers, Qt::Key_Return);
    EXPECT_EQ(fixture.authentication->reasons, Texts{"confirm moving 2 item(s) to the Trash"});
    answer(false);
    EXPECT_TRUE(fixture.trash->taken.empty());
    EXPECT_EQ(sheet("delete"), &dialog);
    click(part(dialog, "moveToTrash"));
    answer(true);
    EXPECT_EQ(fixture.trash->taken,
              (Texts{tree.at("Foo.app"), tree.at("tool"),
                     tree.at("home/Library/Preferences/com.example.foo.plist"),
                     tree.at("home/Library/Logs/Foo")}));
    EXPECT_FALSE(sheet("delete") || content().alert());
    EXPECT_TRUE(content().selection().empty());
    EXPECT_EQ(content().groupCount(), 0U);
}

TEST_F(DeleteSheetTest, CancelRemovesNothingAndForgetsTheChoices) {
    show();
    auto& first = open({tree.at("Foo.app")});
    clickLine(list(first, "leftovers"), 0);
    EXPECT_EQ(selected(first), "Also found leftover files (1 selected):");
    QTest::keyClick(&first, Qt::Key_Escape);
    EXPECT_FALSE(sheet("delete"));
    EXPECT_TRUE(content().leftovers().empty());
    auto& second = open({tree.at("Foo.app")});
    EXPECT_EQ(selected(second), "Also found leftover files (2 selected):");

    // What the owner answers after that comes to nothing.
    click(part(second, "moveToTrash"));
    click(part(second, "cancel"));
    auto& third = open({tree.at("tool")});
    EXPECT_FALSE(list(third, "leftovers").isVisible());
    answer(true);
    EXPECT_TRUE(fixture.trash->taken.empty());
    click(part(third, "moveToTrash"));
    EXPECT_EQ(fixture.authentication->reasons.size(), 2U);
}

TEST_F(DeleteSheetTest, ShowsPathsAsTheyAreWhateverTheyLookLike) {
    const auto path = tree.file("<b>x</b> &amp;  y.app");
    fixture.found(path);
    show();
    auto& dialog = open({path});
    const auto line = list(dialog, "groups").model()->index(0, 0);
    EXPECT_EQ(drawn(line.data(Qt::ToolTipRole).toString()).toStdString(), path);
}

TEST_F(DeleteSheetTest, LeftoversGoFromTheListWithTheirApplication) {
    fixture.inspect = [](const std::string& root) {
        return SignInfo{root.ends_with("Foo.app"), "Software Signing"};
    };
    show();
    auto& dialog = open({tree.at("Foo.app"), tree.at("tool")});
    EXPECT_EQ(content().leftovers().size(), 3U);
    fixture.settle();
    refresher->flush();
    EXPECT_TRUE(content().leftovers().empty());
    EXPECT_EQ(list(dialog, "groups").model()->rowCount(), 1);
}

TEST_F(DeleteSheetTest, AFailureIsShownAndWhatFailedStaysInTheTable) {
    fixture.authentication->canAsk = false;
    fixture.trash->error = "The Trash is full.";
    show();
    auto& dialog = open({tree.at("tool")});
    QTest::keyClick(&dialog, Qt::Key_Return);
    refresher->flush();
    EXPECT_TRUE(part(dialog, "checking").isVisible());
    fixture.settle();
    EXPECT_FALSE(sheet("delete"));
    EXPECT_TRUE(sheet("alert"));
    EXPECT_EQ(content().alert(), "The Trash is full.");
    EXPECT_EQ(content().groupCount(), 2U);
}

class ReinstallSheetTest : public SheetsTest {
protected:
    ReinstallSheetTest() {
        fixture.homebrew.brew = tree.at("brew");
        fixture.found(root);
    }
    QDialog& open() {
        content().requestReinstall(*content().groupWithRoot(root));
        return opened("reinstall");
    }
    static QString logOn(const QDialog& dialog) {
        return part<QPlainTextEdit>(dialog, "log").toPlainText();
    }
    void reportEnd(int status) {
        fixture.processes->end(status);
        fixture.settle();  // The output,
        fixture.settle();  // and then the end.
        refresher->flush();
    }

    const std::string root = "/usr/local/Cellar/wget<b>/1.2/bin/wget";
    TemporaryTree tree;
};

TEST_F(ReinstallSheetTest, RunsTheCommandThatItShows) {
    show();
    auto& dialog = open();
    EXPECT_EQ(part<QLabel>(dialog, "command").text(),
              "arch -arm64 /opt/homebrew/bin/brew reinstall wget<b>");
    key(dialog, Qt::Key_Return);
    EXPECT_TRUE(logOn(dialog).startsWith("arm64 Homebrew not found at /opt/homebrew.\nInstall"));
    EXPECT_TRUE(fixture.processes->started.empty());

    tree.file("brew");
    key(dialog, Qt::Key_Return);
    key(dialog, Qt::Key_Return);
    ASSERT_EQ(fixture.processes->started.size(), 1U);
    EXPECT_FALSE(part(dialog, "run").isEnabled());
    fixture.processes->print("==> Fetching ü\n");
    reportEnd(1);
    EXPECT_EQ(logOn(dialog),
              "$ arch -arm64 brew reinstall wget<b>\n==> Fetching ü\n\nFinished. Exit code 1.");
    EXPECT_TRUE(part(dialog, "run").isEnabled());
    EXPECT_FALSE(part(dialog, "removeOldCopy").isVisible());
}

TEST_F(ReinstallSheetTest, OffersTheOldCopyAlsoWhenItWasClosedMeanwhile) {
    tree.file("brew");
    show();
    auto& first = open();
    click(part(first, "run"));
    click(part(first, "close"));
    EXPECT_FALSE(sheet("reinstall"));
    reportEnd(0);
    auto& second = open();
    EXPECT_EQ(drawn(part(second, "oldCopy").toolTip()), "/usr/local/Cellar/wget<b>");
    click(part(second, "removeOldCopy"));
    EXPECT_EQ(fixture.authentication->reasons, Texts{"confirm removing the old Intel build"});
    fixture.authentication->answer(true);
    fixture.settle();
    refresher->flush();
    EXPECT_EQ(fixture.trash->taken, Texts{"/usr/local/Cellar/wget<b>"});
    EXPECT_EQ(content().groupCount(), 0U);
    EXPECT_EQ(logOn(second),
              "\nMoved /usr/local/Cellar/wget<b> to Trash.\nCleaned 0 dead symlinks. You can close "
              "this.");
}

TEST_F(ReinstallSheetTest, SaysWhatCameOfReinstallsThatOutlivedTheProgram) {
    const auto note = std::string("wget<b>").append(1, '\0').append(root);
    fixture.processes->left = {{note, false}, {"curl", true}};
    show();
    reportEnd(0);
    const auto message = part<QLabel>(opened("alert"), "message").text();
    EXPECT_TRUE(
        message.startsWith("The reinstall of “wget<b>” that was started earlier has ended"));
    EXPECT_TRUE(message.contains("\n\nHomebrew is still reinstalling “curl”"));
    EXPECT_TRUE(content().runningReinstallNotice() && content().updating());
    content().dismissAlert();
    EXPECT_TRUE(part(open(), "oldCopy").isVisible());
    reportEnd(1);
    EXPECT_TRUE(content().alert());
    EXPECT_FALSE(content().runningReinstallNotice() || content().updating());
}

TEST(LogView, FollowsTheEndUnlessTheUserReadsEarlierLines) {
    UpdateLog log;
    LogView view(log);
    view.resize(300, 200);
    view.show();
    const auto add = [&](const std::string& text) {
        log.append(text);
        return QTest::qWaitFor([&] {
            view.refresh();
            return view.toPlainText() == QString::fromStdString(log.text());
        });
    };
    std::string text;
    for (int line = 0; line < 20000; ++line) text += "Zeile für Zeile\n";
    ASSERT_TRUE(add(text));
    auto& bar = *view.verticalScrollBar();
    EXPECT_EQ(bar.value(), bar.maximum());
    bar.setValue(7);
    ASSERT_TRUE(add("more\n"));
    EXPECT_EQ(bar.value(), 7);
}

}  // namespace
}  // namespace vestigo::test
