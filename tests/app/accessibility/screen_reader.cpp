#include "tests/app/accessibility/screen_reader.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusReply>
#include <QDBusVariant>
#include <QEventLoop>

namespace vestigo::test {
namespace {

constexpr int patience = 20000;
const auto readerName = QStringLiteral("screen reader");
const auto properties = "org.freedesktop.DBus.Properties";

QString spi(const char* name) {
    return QStringLiteral("org.a11y.atspi.") + QLatin1String(name);
}

QDBusConnection connectToAccessibilityBus() {
    const auto question = QDBusMessage::createMethodCall("org.a11y.Bus", "/org/a11y/bus",
                                                         "org.a11y.Bus", "GetAddress");
    const QDBusReply<QString> address =
        QDBusConnection::sessionBus().call(question, QDBus::Block, patience);
    return address.isValid() ? QDBusConnection::connectToBus(address.value(), readerName)
                             : QDBusConnection(readerName);
}

template <class Type>
bool holds(const QVariant& value) {
    return value.metaType() == QMetaType::fromType<Type>();
}

/// Without the types of the bus.
QVariant plain(const QVariant& value) {
    if (holds<QDBusVariant>(value)) return plain(value.value<QDBusVariant>().variant());
    if (holds<QDBusObjectPath>(value)) return value.value<QDBusObjectPath>().path();
    if (!holds<QDBusArgument>(value)) return value;
    const auto argument = value.value<QDBusArgument>();
    const bool isArray = argument.currentType() == QDBusArgument::ArrayType;
    isArray ? argument.beginArray() : argument.beginStructure();
    QVariantList parts;
    while (!argument.atEnd()) parts << plain(argument.asVariant());
    isArray ? argument.endArray() : argument.endStructure();
    return parts;
}

/// Waits for it while the window's events, which include the question, are handled.
QVariant answerTo(const QDBusPendingCall& call) {
    const QDBusPendingCallWatcher watcher(call);
    QEventLoop loop;
    QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
    if (!watcher.isFinished()) loop.exec();
    const auto reply = watcher.reply();
    const bool answers = reply.type() == QDBusMessage::ReplyMessage;
    return answers ? plain(reply.arguments().value(0)) : QVariant();
}

}  // namespace

QString pathIn(const QVariant& reference) {
    return reference.toList().value(1).toString();
}

QList<SeenObject> SeenObject::all(const std::function<bool(const SeenObject&)>& which) const {
    QList<SeenObject> found;
    if (which(*this)) found << *this;
    for (const auto& child : children) found << child.all(which);
    return found;
}

SeenObject SeenObject::find(const QString& wantedRole, const QString& wantedName) const {
    return all([&](const SeenObject& object) {
               return object.role == wantedRole && object.name == wantedName &&
                      object.is(ObjectState::showing);
           })
        .value(0);
}

ScreenReader::ScreenReader() : connection_(connectToAccessibilityBus()) {
    connection_.connect({}, {}, spi("Event.Object"), QStringLiteral("Announcement"), this,
                        SLOT(hear(QDBusMessage)));
}

ScreenReader::~ScreenReader() {
    QDBusConnection::disconnectFromBus(readerName);
}

void ScreenReader::hear(const QDBusMessage& message) {
    heard_ << plain(message.arguments().value(3)).toString();
}

QDBusPendingCall ScreenReader::start(const QString& path, const char* interface, const char* member,
                                     const QVariantList& arguments) const {
    const auto program = QDBusConnection(QStringLiteral("a11y")).baseService();
    auto question = QDBusMessage::createMethodCall(
        program, path, interface == properties ? interface : spi(interface), member);
    question.setArguments(arguments);
    return connection_.asyncCall(question, patience);
}

QVariant ScreenReader::ask(const QString& path, const char* interface, const char* member,
                           const QVariantList& arguments) const {
    return answerTo(start(path, interface, member, arguments));
}

QVariant ScreenReader::property(const QString& path, const char* interface,
                                const char* name) const {
    return ask(path, properties, "Get", {spi(interface), name});
}

bool ScreenReader::press(const SeenObject& object, const QString& action) const {
    const auto number = static_cast<int>(object.actions.indexOf(action));
    return number >= 0 && ask(object.path, "Action", "DoAction", {number}).toBool();
}

/// Asks everything at once: each answer costs a turn of the event loop.
SeenObject ScreenReader::read(const QString& path) const {
    const auto role = start(path, "Accessible", "GetRoleName");
    const auto name = start(path, properties, "Get", {spi("Accessible"), "Name"});
    const auto description = start(path, properties, "Get", {spi("Accessible"), "Description"});
    const auto state = start(path, "Accessible", "GetState");
    const auto extents = start(path, "Component", "GetExtents", {0U});
    const auto actions = start(path, "Action", "GetActions");
    const auto text = start(path, "Text", "GetText", {0, -1});
    const auto children = start(path, "Accessible", "GetChildren");
    SeenObject object;
    object.path = path;
    object.role = answerTo(role).toString();
    object.name = answerTo(name).toString();
    object.description = answerTo(description).toString();
    object.text = answerTo(text).toString();
    const auto words = answerTo(state).toList();
    object.states = words.value(0).toULongLong() | words.value(1).toULongLong() << 32U;
    const auto area = answerTo(extents).toList();
    object.area = {area.value(0).toInt(), area.value(1).toInt(), area.value(2).toInt(),
                   area.value(3).toInt()};
    for (const auto& action : answerTo(actions).toList()) {
        object.actions << action.toList().value(0).toString();
    }
    for (const auto& child : answerTo(children).toList()) object.children << read(pathIn(child));
    return object;
}

}  // namespace vestigo::test
