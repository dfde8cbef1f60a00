#include "platform/qt/qt_desktop.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QFileDialog>
#include <QGuiApplication>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>

#include "tests/support/test.h"

namespace vestigo::test {
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
    /// Where a file is saved to which the user gives this name.
    std::optional<std::string> saveAs(const QString& name) {
        const auto path = QString::fromStdString(tree.path()) + "/" + name;
        whenOpen<QFileDialog>([path](QFileDialog& panel) {
            EXPECT_EQ(panel.findChild<QLineEdit*>("fileNameEdit")->text(), "proposed.csv");
            panel.selectFile(path);
            panel.findChild<QLineEdit*>("fileNameEdit")->setText(path);
            QMetaObject::invokeMethod(&panel, &QDialog::accept, Qt::QueuedConnection);
        });
        return desktop.chooseCsvFile("proposed.csv");
    }
    TemporaryTree tree;
    QtDesktop desktop;
};

TEST_F(QtDesktopTest, AddsTheSuffixAndAsksBeforeReplacing) {
    EXPECT_EQ(saveAs("list"), tree.at("list.csv"));
    tree.file("list.csv");
    bool asked = false;
    whenOpen<QMessageBox>([&asked](QMessageBox& box) {
        asked =
            box.textFormat() == Qt::PlainText && box.defaultButton() == box.button(QMessageBox::No);
        box.button(QMessageBox::Yes)->click();
    });
    EXPECT_EQ(saveAs("list"), tree.at("list.csv"));
    EXPECT_TRUE(asked);
    // Half of a character has no bytes, so this would be another file.
    EXPECT_EQ(saveAs(QString(QChar(0xD800)) + ".csv"), std::nullopt);
}

TEST_F(QtDesktopTest, CopiesTextAndNamesFilesByTheirBytes) {
    desktop.copyText("/Users/ü");
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QString("/Users/ü"));
    EXPECT_EQ(fileUri("/a b/ü#?%\xff"), "file:///a%20b/%C3%BC%23%3F%25%FF");
}

#ifndef Q_OS_MACOS
TEST_F(QtDesktopTest, OpensTheFolderWhereNoFileManagerCanBeAsked) {
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
    QTextBrowser browser;
    QDesktopServices::setUrlHandler("file", &browser, "setSource");
    desktop.reveal(tree.file("a b/c"));
    QDesktopServices::unsetUrlHandler("file");
    EXPECT_EQ(browser.source(), QUrl::fromLocalFile(QString::fromStdString(tree.at("a b"))));
}
#endif

}  // namespace
}  // namespace vestigo::test
