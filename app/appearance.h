// Light and dark, as the desktop has it.
#pragma once

#include <QDBusVariant>
#include <QObject>

namespace vestigo {

/// Has the application follow the desktop's preference for dark windows, now and while it runs, as
/// the desktop portal tells it. Where the style follows by itself, or no portal answers, nothing is
/// changed.
class DesktopAppearance : public QObject {
    Q_OBJECT
public:
    DesktopAppearance();

private slots:
    void settingChanged(const QString& space, const QString& key, const QDBusVariant& value);

private:
    void follow(const QVariant& colorScheme);
    bool ours_ = false;  ///< The palette was set here.
};

}  // namespace vestigo
