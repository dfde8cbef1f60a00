// What a screen reader learns of this program over its bus.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QObject>
#include <QRect>
#include <QString>
#include <QStringList>
#include <QVariant>

#include "tests/support/test.h"

namespace vestigo::test {

/// States by their numbers in AT-SPI.
enum class ObjectState : std::uint8_t {
    checked = 4,
    focused = 12,
    selected = 23,
    showing = 25,
};

struct SeenObject {
    QString path;
    QString role;
    QString name;
    QString description;
    QString text;  ///< Of its Text interface.
    QRect area;    ///< On the screen.
    std::uint64_t states = 0;
    QStringList interfaces;
    QStringList actions;
    QList<SeenObject> children;

    [[nodiscard]] bool is(ObjectState state) const {
        return (states >> static_cast<unsigned>(state) & 1U) != 0;
    }
    /// This object and all below it.
    void visit(const std::function<void(const SeenObject&)>& visitor) const;
    [[nodiscard]] QList<SeenObject> all(const std::function<bool(const SeenObject&)>& which) const;
    /// The first one that shows, by its role and name; without a path where there is none.
    [[nodiscard]] SeenObject find(const QString& role, const QString& name) const;
};

/// Everything it asks goes over the bus, from a thread of its own, while the window's thread goes
/// on.
class ScreenReader : public QObject {
    Q_OBJECT
public:
    /// Connects to the bus that the session has for assistive technology.
    ScreenReader();
    ~ScreenReader() override;

    [[nodiscard]] bool connected() const { return connection_.isConnected(); }
    /// The program with its windows, to this depth of objects.
    [[nodiscard]] SeenObject program();
    /// The values of the answer; none when there is no answer.
    QVariantList ask(const QString& path, const QString& interface, const QString& member,
                     const QVariantList& arguments = {});
    QVariant property(const QString& path, const QString& interface, const QString& name);
    bool press(const SeenObject& object, const QString& action);
    /// What the program has had it say.
    [[nodiscard]] const QStringList& heard() const { return heard_; }

private slots:
    void hear(const QDBusMessage& message);

private:
    QVariantList call(const QString& path, const QString& interface, const QString& member,
                      const QVariantList& arguments) const;
    QVariant get(const QString& path, const QString& interface, const QString& name) const;
    SeenObject look(const QString& path) const;

    QDBusConnection connection_;
    QStringList heard_;
};

/// The paths of the objects in an answer.
[[nodiscard]] QStringList pathsIn(const QVariant& references);

}  // namespace vestigo::test
