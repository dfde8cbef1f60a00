// Where this program's settings are, in Qt's terms.
#pragma once

#include <QSettings>
#include <QString>
#include <memory>

namespace vestigo {

/// The names that Qt makes a place of.
struct SettingsNames {
    QString organisation;
    QString application;
};

/// On a Mac those of the domain that is called like the bundle, where `defaults` and frameworks
/// look too; elsewhere those of one file in the folder "Vestigo".
[[nodiscard]] SettingsNames settingsNames(bool onMac, const QString& file);

/// The user's settings. `file`: as above, without its ending; on a Mac all share the one domain.
[[nodiscard]] std::unique_ptr<QSettings> ownSettings(const QString& file);

}  // namespace vestigo
