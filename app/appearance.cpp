#include "app/appearance.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include "ui/colors.h"

namespace vestigo {
namespace {

// As described for the settings of the XDG desktop portal.
const auto service = QStringLiteral("org.freedesktop.portal.Desktop");
const auto path = QStringLiteral("/org/freedesktop/portal/desktop");
const auto interface = QStringLiteral("org.freedesktop.portal.Settings");
const auto appearanceSpace = QStringLiteral("org.freedesktop.appearance");
const auto colorSchemeKey = QStringLiteral("color-scheme");
constexpr unsigned prefersDark = 1;

/// The portal's older answer wraps the value twice.
QVariant unwrapped(QVariant value) {
    while (value.canConvert<QDBusVariant>()) value = value.value<QDBusVariant>().variant();
    return value;
}

}  // namespace

QPalette darkPalette() {
    const QColor window(0x2b, 0x2b, 0x2e);
    const QColor base(0x1f, 0x1f, 0x21);
    const QColor text(0xec, 0xec, 0xee);
    const QColor faint(0x7d, 0x7d, 0x82);
    QPalette palette(QColor(0x3a, 0x3a, 0x3e), window);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText,
                            QPalette::ToolTipText, QPalette::BrightText}) {
        palette.setColor(role, text);
        palette.setColor(QPalette::Disabled, role, faint);
    }
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, QColor(0x25, 0x25, 0x28));
    palette.setColor(QPalette::ToolTipBase, QColor(0x3a, 0x3a, 0x3e));
    palette.setColor(QPalette::PlaceholderText, faint);
    palette.setColor(QPalette::Highlight, QColor(0x0a, 0x60, 0xc8));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x4d, 0xa3, 0xff));
    return palette;
}

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
