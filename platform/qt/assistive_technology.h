// What Qt leaves out of its answers to assistive technology.
#pragma once

#include <QAccessible>
#include <QDBusVirtualObject>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <QVariantList>
#include <optional>

namespace vestigo {

/// Has assistive technology say a text once what it is saying has been said. Does nothing where
/// none listens. The active window speaks, else any window. Main thread only.
void announce(const QString& text);

/// Qt's bridge to AT-SPI knows tables, but neither the cells nor the selection in them: a screen
/// reader then cannot tell the header of a cell. While this object lives, it stands before the
/// bridge on the bridge's own connection, answers what concerns these two interfaces, and passes
/// everything else on. Where there is no such bridge it does nothing. One a program, main thread
/// only, in the lifetime of the application object.
class AtSpiTables : public QDBusVirtualObject, public QAccessible::ActivationObserver {
    Q_OBJECT
public:
    AtSpiTables();
    ~AtSpiTables() override;

    void accessibilityActiveChanged(bool active) override;
    [[nodiscard]] QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    void standBeforeBridge();

    QPointer<QDBusVirtualObject> bridge_;
    QTimer untilConnected_;
};

}  // namespace vestigo
