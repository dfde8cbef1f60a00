#include "platform/qt/own_settings.h"

#include <QOperatingSystemVersion>
#include <QStringList>
#include <algorithm>

namespace vestigo {

SettingsNames settingsNames(bool onMac, const QString& file) {
    if (!onMac) return {QStringLiteral("Vestigo"), file};
    // Qt turns "example.com" and "name" into the domain "com.example.name".
    auto parts = QStringLiteral(VESTIGO_BUNDLE_IDENTIFIER).split(u'.');
    const auto application = parts.takeLast();
    std::ranges::reverse(parts);
    return {parts.join(u'.'), application};
}

std::unique_ptr<QSettings> ownSettings(const QString& file) {
    const bool onMac =
        QOperatingSystemVersion::currentType() == QOperatingSystemVersion::OSType::MacOS;
    const auto names = settingsNames(onMac, file);
    return std::make_unique<QSettings>(names.organisation, names.application);
}

}  // namespace vestigo
