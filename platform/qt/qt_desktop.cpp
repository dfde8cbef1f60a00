#include "platform/qt/qt_desktop.h"

#include <QApplication>
#include <QClipboard>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMessageBox>
#include <QStringList>
#include <QUrl>
#include <algorithm>

#include "platform/qt/assistive_technology.h"
#ifdef Q_OS_MACOS
#include "platform/macos/macos_reveal.h"
#endif

namespace vestigo {
namespace {

void openFolderAround(const std::string& path) {
    const auto folder = path.substr(0, std::max<std::size_t>(path.find_last_of('/'), 1));
    QDesktopServices::openUrl(QUrl::fromEncoded(fileUri(folder)));
}

const auto csvSuffix = QStringLiteral(".csv");

/// The bytes of a path that a dialog returned. Absent when the text stands for other bytes: Qt
/// cannot name every file.
std::optional<std::string> bytesOf(const QString& path) {
    const auto bytes = QFile::encodeName(path);
    if (path.isEmpty() || QFile::decodeName(bytes) != path) return std::nullopt;
    return bytes.toStdString();
}

bool confirmsReplacing(const QString& path) {
    QMessageBox question(QMessageBox::Warning, QObject::tr("Save"),
                         QObject::tr("%1 already exists.\nDo you want to replace it?").arg(path),
                         QMessageBox::Yes | QMessageBox::No, QApplication::activeWindow());
    question.setTextFormat(Qt::PlainText);
    question.setDefaultButton(QMessageBox::No);
    return question.exec() == QMessageBox::Yes;
}

}  // namespace

QByteArray fileUri(const std::string& path) {
    return "file://" + QByteArray::fromStdString(path).toPercentEncoding("/");
}

void revealOnFreedesktop(const std::string& path) {
    const auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return openFolderAround(path);
    auto request = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
                                                  QStringLiteral("/org/freedesktop/FileManager1"),
                                                  QStringLiteral("org.freedesktop.FileManager1"),
                                                  QStringLiteral("ShowItems"));
    request << QStringList(QString::fromLatin1(fileUri(path))) << QString();
    auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(request));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, path] {
        if (watcher->isError()) openFolderAround(path);
        watcher->deleteLater();
    });
}

void QtDesktop::reveal(const std::string& path) {
#ifdef Q_OS_MACOS
    revealInFinder(path);
#else
    revealOnFreedesktop(path);
#endif
}

void QtDesktop::copyText(const std::string& text) {
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

void QtDesktop::announce(const std::string& text) {
    vestigo::announce(QString::fromStdString(text));
}

std::optional<std::string> QtDesktop::chooseFolder() {
    const auto path = QFileDialog::getExistingDirectory(QApplication::activeWindow(),
                                                        QObject::tr("Choose a folder to scan"),
                                                        QFile::decodeName(folder_.c_str()));
    if (!QFileInfo(path).isDir()) return std::nullopt;
    return bytesOf(path);
}

std::optional<std::string> QtDesktop::chooseCsvFile(const std::string& name) {
    auto proposed = QString::fromStdString(name);
    for (;;) {
        auto path =
            QFileDialog::getSaveFileName(QApplication::activeWindow(), QObject::tr("Export CSV"),
                                         proposed, QObject::tr("Comma-separated values (*.csv)"));
        if (path.isEmpty()) return std::nullopt;
        // The dialog has asked about the name as it was typed, not about the one with the suffix.
        const bool named = path.endsWith(csvSuffix, Qt::CaseInsensitive);
        if (!named) path += csvSuffix;
        if (named || !QFileInfo::exists(path) || confirmsReplacing(path)) return bytesOf(path);
        proposed = path;
    }
}

}  // namespace vestigo
