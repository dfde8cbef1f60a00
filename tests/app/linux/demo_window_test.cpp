#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTest>
#include <QTimer>

#include "demo/demo_sandbox.h"
#include "demo/demo_tree.h"
#include "persist/preference_keys.h"
#include "tests/support/service_fakes.h"
#include "tests/support/test.h"

namespace vestigo::test {
namespace {

namespace fs = std::filesystem;

/// Counts the jobs that leave the processor to other programs.
struct CountingTasks : BackgroundTasks {
    explicit CountingTasks(std::shared_ptr<BackgroundTasks> tasks) : real(std::move(tasks)) {}
    void run(Priority priority, Job job) override {
        if (priority == Priority::utility) ++gentle;
        real->run(priority, std::move(job));
    }
    std::shared_ptr<BackgroundTasks> real;
    std::atomic<int> gentle = 0;
};

/// A window's model over the demonstration disk, after a scan.
class DemoWindow : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(makeDemoTree(disk.path()));
        auto platform = demoPlatformServices(disk.path());
        platform.folders.caches = "/private/caches";
        platform.tasks = tasks = std::make_shared<CountingTasks>(platform.tasks);
        platform.openPreviousPreferences = [] {
            auto previous = std::make_shared<MemoryPreferences>();
            previous->values[preference::acceptedDisclaimer] = 1;
            return previous;
        };
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
    std::shared_ptr<CountingTasks> tasks;
    std::unique_ptr<ContentView> content;
};

TEST_F(DemoWindow, IsServedLikeThoseOfTheProgramAndShowsEveryCategoryAndFix) {
    for (const auto category : allCategories) EXPECT_GT(content->categoryCount(category), 0U);
    for (const auto fix : {Fix::apple, Fix::homebrew, Fix::macports, Fix::manual, Fix::keep}) {
        EXPECT_GT(content->fixCount(fix), 0U);
    }
    EXPECT_GT(tasks->gentle, 0);
    EXPECT_TRUE(content->acceptedDisclaimer());
    EXPECT_TRUE(QTest::qWaitFor([&] { return has("/private/caches/Vestigo/other-files"); }, 20000));
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

}  // namespace
}  // namespace vestigo::test
