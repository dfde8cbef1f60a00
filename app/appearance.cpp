#include "app/appearance.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include "ui/widgets/theme.h"

namespace vestigo {
namespace {

// The names are those of the Settings interface of the XDG desktop portal.
const auto service = QStringLiteral("org.freedesktop.portal.Desktop");
const auto path = QStringLiteral("/org/freedesktop/portal/desktop");
const auto interface = QStringLiteral("org.freedesktop.portal.Settings");
const auto appearanceSpace = QStringLiteral("org.freedesktop.appearance");
const auto colorSchemeKey = QStringLiteral("color-scheme");
constexpr unsigned prefersDark = 1;

/// Older portals wrap the value twice.
QVariant unwrapped(QVariant value) {
    while (value.canConvert<QDBusVariant>()) value = value.value<QDBusVariant>().variant();
    return value;
}

}  // namespace

DesktopAppearance::DesktopAppearance() {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    bus.connect(service, path, interface, QStringLiteral("SettingChanged"), this,
                SLOT(settingChanged(QString, QString, QDBusVariant)));
    auto question =
        QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Read"));
    question << appearanceSpace << colorSchemeKey;
    auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(question), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        if (reply.isValid()) follow(reply.value().variant());
        watcher->deleteLater();
    });
}

void DesktopAppearance::settingChanged(const QString& space, const QString& key,
                                       const QDBusVariant& value) {
    if (space == appearanceSpace && key == colorSchemeKey) follow(value.variant());
}

void DesktopAppearance::follow(const QVariant& colorScheme) {
    const bool dark = unwrapped(colorScheme).toUInt() == prefersDark;
    if (dark == isDark(QApplication::palette())) return;
    if (dark) {
        QApplication::setPalette(darkPalette());
    } else if (ours_) {
        QApplication::setPalette(QPalette());
    }
    ours_ = dark;
}

}  // namespace vestigo
