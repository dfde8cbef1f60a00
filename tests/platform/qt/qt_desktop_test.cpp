#include "platform/qt/qt_desktop.h"

#include <QClipboard>
#include <QFileDialog>
#include <QGuiApplication>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include "platform/qt/freedesktop_reveal.h"

namespace vestigo {
namespace {

/// Answers the dialogs that come up, one after the other.
template <class Dialog, class Answer>
void whenOpen(Answer answer) {
    QTimer::singleShot(0, [answer] {
        ASSERT_TRUE(QTest::qWaitFor(
            [] { return qobject_cast<Dialog*>(QApplication::activeModalWidget()) != nullptr; }));
        answer(*qobject_cast<Dialog*>(QApplication::activeModalWidget()));
    });
}

class QtDesktopTest : public testing::Test {
protected:
    QtDesktopTest() { QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }
    static void save(const QString& name) {
        whenOpen<QFileDialog>([name](QFileDialog& panel) {
            panel.selectFile(name);
            panel.findChild<QLineEdit*>("fileNameEdit")->setText(name);
            QMetaObject::invokeMethod(&panel, &QDialog::accept, Qt::QueuedConnection);
        });
    }
    QTemporaryDir folder;
    QtDesktop desktop;
};

TEST_F(QtDesktopTest, ProposesANameAndAddsTheSuffix) {
    save(folder.filePath("list"));
    EXPECT_EQ(desktop.chooseCsvFile("vestigo-binaries.csv"),
              folder.filePath("list.csv").toStdString());
    whenOpen<QFileDialog>([](QFileDialog& panel) {
        EXPECT_EQ(panel.findChild<QLineEdit*>("fileNameEdit")->text(), "vestigo-binaries.csv");
        EXPECT_EQ(panel.nameFilters(), QStringList("Comma-separated values (*.csv)"));
        panel.reject();
    });
    EXPECT_FALSE(desktop.chooseCsvFile("vestigo-binaries.csv"));
}

TEST_F(QtDesktopTest, AsksBeforeReplacingTheNameWithTheAddedSuffix) {
    QFile existing(folder.filePath("list.csv"));
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    save(folder.filePath("list"));
    QTimer::singleShot(50, [] {
        whenOpen<QMessageBox>([](QMessageBox& box) { box.button(QMessageBox::Yes)->click(); });
    });
    EXPECT_EQ(desktop.chooseCsvFile("x.csv"), folder.filePath("list.csv").toStdString());
}

TEST_F(QtDesktopTest, CopiesTextAndNamesFilesByTheirBytes) {
    desktop.copyText("/Users/ü");
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QString("/Users/ü"));
    EXPECT_EQ(fileUri("/a b/ü#?%\xff"), "file:///a%20b/%C3%BC%23%3F%25%FF");
}

}  // namespace
}  // namespace vestigo
