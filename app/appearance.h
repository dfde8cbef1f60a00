// Follows the desktop's choice of light or dark windows.
#pragma once

#include <QDBusVariant>
#include <QObject>

namespace vestigo {

/// Asks the XDG desktop portal for the preference and follows its changes while this object lives.
/// Does nothing where Qt's style follows the preference by itself or no portal answers. Main thread
/// only; the application object must exist.
class DesktopAppearance : public QObject {
    Q_OBJECT
public:
    DesktopAppearance();

private slots:
    void settingChanged(const QString& space, const QString& key, const QDBusVariant& value);

private:
    void follow(const QVariant& colorScheme);
    bool ours_ = false;  ///< The application's palette was set by this object.
};

}  // namespace vestigo
