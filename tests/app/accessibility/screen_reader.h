// What a screen reader learns of this program over its bus.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QObject>
#include <QRect>
#include <QStringList>
#include <QVariant>

#include "tests/support/test.h"

namespace vestigo::test {

/// States by their numbers in AT-SPI.
enum class ObjectState : std::uint8_t { checked = 4, focused = 12, selected = 23, showing = 25 };

struct SeenObject {
    QString path;
    QString role;
    QString name;
    QString description;
    QString text;  ///< Of its Text interface.
    QRect area;    ///< On the screen.
    std::uint64_t states = 0;
    QStringList actions;
    QList<SeenObject> children;

    [[nodiscard]] bool is(ObjectState state) const {
        return (states >> static_cast<unsigned>(state) & 1U) != 0;
    }
    /// This object and all below it that pass.
    [[nodiscard]] QList<SeenObject> all(const std::function<bool(const SeenObject&)>& which) const;
    /// The first one that shows, by its role and name; without a path where there is none.
    [[nodiscard]] SeenObject find(const QString& role, const QString& name) const;
};

/// Asks over the bus that the session has for assistive technology, while the window goes on.
class ScreenReader : public QObject {
    Q_OBJECT
public:
    ScreenReader();
    ~ScreenReader() override;

    [[nodiscard]] bool connected() const { return connection_.isConnected(); }
    /// The object with all below it; the whole program where none is named.
    [[nodiscard]] SeenObject read(const QString& path = "/org/a11y/atspi/accessible/root") const;
    /// The first value of the answer, in which structures and arrays are lists.
    QVariant ask(const QString& path, const char* interface, const char* member,
                 const QVariantList& arguments = {}) const;
    QVariant property(const QString& path, const char* interface, const char* name) const;
    [[nodiscard]] bool press(const SeenObject& object, const QString& action) const;
    /// What the program has had it say.
    [[nodiscard]] const QStringList& heard() const { return heard_; }

private slots:
    void hear(const QDBusMessage& message);

private:
    QDBusPendingCall start(const QString& path, const char* interface, const char* member,
                           const QVariantList& arguments = {}) const;

    QDBusConnection connection_;
    QStringList heard_;
};

/// The path in a reference to an object, which is its second part.
[[nodiscard]] QString pathIn(const QVariant& reference);

}  // namespace vestigo::test
