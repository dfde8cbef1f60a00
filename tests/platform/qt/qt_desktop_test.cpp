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

#include "tests/support/test.h"

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
    /// Where a file is saved whose name the user gives as "list".
    std::optional<std::string> saveAsList() {
        whenOpen<QFileDialog>([name = folder.filePath("list")](QFileDialog& panel) {
            EXPECT_EQ(panel.findChild<QLineEdit*>("fileNameEdit")->text(), "proposed.csv");
            panel.selectFile(name);
            panel.findChild<QLineEdit*>("fileNameEdit")->setText(name);
            QMetaObject::invokeMethod(&panel, &QDialog::accept, Qt::QueuedConnection);
        });
        return desktop.chooseCsvFile("proposed.csv");
    }
    QTemporaryDir folder;
    std::string added = folder.filePath("list.csv").toStdString();
    QtDesktop desktop;
};

TEST_F(QtDesktopTest, AddsTheSuffixAndAsksBeforeReplacing) {
    EXPECT_EQ(saveAsList(), added);
    std::ofstream(added) << "existing";
    bool asked = false;
    whenOpen<QMessageBox>([&asked](QMessageBox& box) {
        asked =
            box.textFormat() == Qt::PlainText && box.defaultButton() == box.button(QMessageBox::No);
        box.button(QMessageBox::Yes)->click();
    });
    EXPECT_EQ(saveAsList(), added);
    EXPECT_TRUE(asked);
}

TEST_F(QtDesktopTest, CopiesTextAndNamesFilesByTheirBytes) {
    desktop.copyText("/Users/ü");
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QString("/Users/ü"));
    EXPECT_EQ(fileUri("/a b/ü#?%\xff"), "file:///a%20b/%C3%BC%23%3F%25%FF");
}

}  // namespace
}  // namespace vestigo
