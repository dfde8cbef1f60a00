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

/// Answers the next dialog of this kind that comes up. Waits in no loop of its own, which would
/// keep an earlier dialog from going.
template <class Dialog, class Answer>
void whenOpen(Answer answer) {
    auto* const timer = new QTimer;
    QObject::connect(timer, &QTimer::timeout, timer, [timer, answer] {
        auto* const open = qobject_cast<Dialog*>(QApplication::activeModalWidget());
        if (!open) return;
        timer->stop();
        timer->deleteLater();
        answer(*open);
    });
    timer->start(5);
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
    whenOpen<QMessageBox>([](QMessageBox& box) { box.button(QMessageBox::Yes)->click(); });
    EXPECT_EQ(desktop.chooseCsvFile("x.csv"), folder.filePath("list.csv").toStdString());
}

TEST_F(QtDesktopTest, CopiesTextAndNamesFilesByTheirBytes) {
    desktop.copyText("/Users/ü");
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QString("/Users/ü"));
    EXPECT_EQ(fileUri("/a b/ü#?%\xff"), "file:///a%20b/%C3%BC%23%3F%25%FF");
}

}  // namespace
}  // namespace vestigo
