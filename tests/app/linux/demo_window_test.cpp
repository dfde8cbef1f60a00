#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTest>
#include <QTimer>

#include "demo/demo_sandbox.h"
#include "demo/demo_tree.h"
#include "engine/scan_rules.h"
#include "persist/csv.h"
#include "tests/support/test.h"

namespace vestigo::test {
namespace {

namespace fs = std::filesystem;

/// A window's model over the demonstration disk, after a scan.
class DemoWindow : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(makeDemoTree(disk.path()));
        auto platform = demoPlatformServices(disk.path());
        platform.folders.caches = "/private/caches";
        content = std::make_unique<ContentView>(windowServices(std::move(platform)));
        content->scanPressed();
        const auto& scanner = content->scanner();
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return !scanner.walking() && scanner.signaturePasses() == 0; }, 20000));
    }
    [[nodiscard]] bool has(const std::string& path) const {
        return fs::exists(fs::symlink_status(disk.path() + path));
    }
    [[nodiscard]] std::set<std::string> trashed() const {
        std::set<std::string> names;
        for (const auto& item : fs::directory_iterator(demoTrashFolder(disk.path()) + "/files")) {
            names.insert(item.path().filename());
        }
        return names;
    }

    TemporaryTree disk;
    std::unique_ptr<ContentView> content;
};

TEST_F(DemoWindow, KeepsItsMemoryOfOtherFilesInTheCachesFolder) {
    EXPECT_TRUE(QTest::qWaitFor([&] { return has("/private/caches/Vestigo/other-files"); }, 20000));
}

TEST_F(DemoWindow, ShowsEveryCategoryAndEveryFixOnTheDiskItPlays) {
    for (const auto category : allCategories) EXPECT_GT(content->categoryCount(category), 0U);
    for (const auto fix : {Fix::apple, Fix::homebrew, Fix::macports, Fix::manual, Fix::keep}) {
        EXPECT_GT(content->fixCount(fix), 0U);
    }
    const auto csv = csvText(content->scanner().groups(), content->scanner().signatures());
    for (const auto* const shown :
         {"\"App\",\"Sound Studio.app\",\"Example Audio\",Manual,\"i386, x86_64\",false",
          "\"Apple\",Apple,"}) {
        EXPECT_NE(csv.find(shown), std::string::npos) << shown;
    }
    for (const auto* const hidden : {disk.path().c_str(), "Modern Notes", "Caches"}) {
        EXPECT_EQ(csv.find(hidden), std::string::npos) << hidden;
    }
}

TEST(DemoDesktop, OpensThePanelOnItsDiskAndSaysWhyItTakesNoOtherFolder) {
    const TemporaryTree disk;
    disk.folder("Library");
    const auto desktop = demoPlatformServices(disk.path()).desktop;
    QString openedIn;
    QString said;
    const auto choose = [&](const std::string& folder) {
        QTimer answers;
        QObject::connect(&answers, &QTimer::timeout, &answers, [&] {
            auto* const modal = QApplication::activeModalWidget();
            if (auto* const panel = qobject_cast<QFileDialog*>(modal)) {
                openedIn = panel->directory().path();
                panel->findChild<QLineEdit*>()->setText(QString::fromStdString(folder));
                static_cast<QDialog*>(panel)->accept();
            } else if (auto* const message = qobject_cast<QMessageBox*>(modal)) {
                said = message->text() + message->informativeText();
                message->accept();
            }
        });
        answers.start(20);
        return desktop->chooseFolder();
    };
    EXPECT_EQ(choose(disk.at("Library")), "/Library");
    EXPECT_EQ(openedIn.toStdString(), disk.path());
    EXPECT_EQ(said, QString());
    EXPECT_EQ(choose(disk.path()), "/");
    EXPECT_FALSE(choose("/usr"));
    EXPECT_TRUE(said.contains("/usr") && said.contains(openedIn)) << said.toStdString();
}

TEST_F(DemoWindow, MovesAnApplicationAndItsLeftoversToTheTrashOfItsOwnDisk) {
    content->requestDeleteOfRow(*content->groupWithRoot("/Applications/Sound Studio.app"));
    content->planRemoval();
    ASSERT_EQ(content->leftovers().size(), 5U);
    content->confirmDelete();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !content->showDeleteConfirm(); }, 20000));
    EXPECT_FALSE(content->groupWithRoot("/Applications/Sound Studio.app"));
    EXPECT_FALSE(has("/Applications/Sound Studio.app"));
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return !has("/Library/LaunchDaemons/com.example.soundstudio.plist"); }, 20000));
    EXPECT_TRUE(has("/Users/demo/Library/Application Support/Sound Studio"));
    EXPECT_FALSE(content->alert());
    EXPECT_EQ(trashed().size(), 5U);
}

TEST_F(DemoWindow, SaysWhatKeepsAnItemThatTheFindingsLetGo) {
    const auto reasonFor = [this](const std::string& root, const std::string& ticked = "") {
        content->dismissAlert();
        content->requestDeleteOfRow(*content->groupWithRoot(root));
        content->planRemoval();
        content->setLeftoverOn(ticked, true);
        content->confirmDelete();
        EXPECT_TRUE(QTest::qWaitFor([&] { return !content->showDeleteConfirm(); }, 20000));
        return content->alert().value_or("");
    };
    const std::string support = "/Users/demo/Library/Application Support/Old Writer";
    EXPECT_EQ(reasonFor("/Applications/Old Writer.app", support),
              "“Old Writer” holds “Writer Viewer.app”, which also runs natively, and was left in "
              "its place.");
    EXPECT_TRUE(has(support) && !has("/Applications/Old Writer.app"));
    content->chooseFolder("/Applications/Photo Desk.app/Contents/Helpers");
    content->scanPressed();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !content->scanner().walking(); }, 20000));
    EXPECT_EQ(content->fixCount(Fix::manual), 1U);
    EXPECT_EQ(reasonFor("/Applications/Photo Desk.app"),
              "“Photo Desk.app” also runs natively and was left in its place.");
    EXPECT_TRUE(has("/Applications/Photo Desk.app"));
}

TEST_F(DemoWindow, ReinstallsAFormulaAndRemovesTheOldCopyWithItsLinks) {
    content->requestReinstall(*content->groupWithRoot("/usr/local/Cellar/wget/1.21.4/bin/wget"));
    content->startReinstall();
    ASSERT_TRUE(QTest::qWaitFor([&] { return content->removableOldCopy().has_value(); }, 20000));
    content->confirmRemoveOldCopy();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !has("/usr/local/Cellar/wget"); }, 20000));
    const auto log = content->updateLog().text();
    EXPECT_TRUE(log.ends_with(
        "\nFinished. Exit code 0.\nMoved /usr/local/Cellar/wget to Trash.\nCleaned 2 dead "
        "symlinks. You can close this."))
        << log;
    EXPECT_NE(log.find("==> Pouring wget"), std::string::npos);
    EXPECT_FALSE(has("/usr/local/bin/wget"));
    EXPECT_TRUE(has("/usr/local/lib/libpng16.16.dylib"));
    EXPECT_EQ(trashed(), std::set<std::string>{"wget"});
}

}  // namespace
}  // namespace vestigo::test
