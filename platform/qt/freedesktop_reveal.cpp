#include "platform/qt/freedesktop_reveal.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QStringList>
#include <QUrl>
#include <algorithm>

namespace vestigo {
namespace {

void openFolderAround(const std::string& path) {
    const auto folder = path.substr(0, std::max<std::size_t>(path.find_last_of('/'), 1));
    QDesktopServices::openUrl(QUrl::fromEncoded(fileUri(folder)));
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

}  // namespace vestigo
