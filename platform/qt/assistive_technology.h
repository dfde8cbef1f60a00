// Gives assistive technology the information that Qt's own bridge leaves out.
#pragma once

#include <QAccessible>
#include <QDBusVirtualObject>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <QVariantList>
#include <optional>

namespace vestigo {

/// Has assistive technology say a text after what it is saying now. Does nothing where none is
/// active. The announcement comes from the active window, else from any window. Main thread only.
void announce(const QString& text);

/// Qt's bridge to AT-SPI offers tables, but not the cells and the selection in them, so a screen
/// reader cannot tell the header of a cell. While this object lives, it receives the requests in
/// the bridge's place, answers those about these two interfaces and passes all others on to the
/// bridge. Does nothing where there is no such bridge. A program has one; main thread only, within
/// the lifetime of the application object.
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
