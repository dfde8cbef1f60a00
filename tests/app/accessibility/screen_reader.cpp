#include "tests/app/accessibility/screen_reader.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDBusVariant>
#include <QEventLoop>
#include <thread>

namespace vestigo::test {
namespace {

constexpr int patience = 20000;
const auto readerName = QStringLiteral("screen reader");
const auto programsConnection = QStringLiteral("a11y");
const auto programPath = QStringLiteral("/org/a11y/atspi/accessible/root");

QString spi(const char* name) {
    return QStringLiteral("org.a11y.atspi.") + QLatin1String(name);
}

QDBusConnection connectToAccessibilityBus() {
    const auto question = QDBusMessage::createMethodCall(
        QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
        QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress"));
    const QDBusReply<QString> address =
        QDBusConnection::sessionBus().call(question, QDBus::Block, patience);
    return address.isValid() ? QDBusConnection::connectToBus(address.value(), readerName)
                             : QDBusConnection(readerName);
}

/// Runs it beside the window's thread, which handles events meanwhile.
template <class Job>
auto meanwhile(Job job) {
    decltype(job()) result;
    QEventLoop loop;
    std::thread thread([&] {
        result = job();
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    });
    loop.exec();
    thread.join();
    return result;
}

QRect areaIn(const QVariantList& answer) {
    if (answer.isEmpty()) return {};
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    const auto argument = answer.first().value<QDBusArgument>();
    argument.beginStructure();
    argument >> x >> y >> width >> height;
    argument.endStructure();
    return {x, y, width, height};
}

std::uint64_t statesIn(const QVariantList& answer) {
    const auto words = qdbus_cast<QList<uint>>(answer.value(0));
    return words.size() == 2 ? words[0] | static_cast<std::uint64_t>(words[1]) << 32U : 0;
}

QStringList actionsIn(const QVariantList& answer) {
    QStringList names;
    if (answer.isEmpty()) return names;
    const auto argument = answer.first().value<QDBusArgument>();
    argument.beginArray();
    while (!argument.atEnd()) {
        QString name;
        QString description;
        QString keys;
        argument.beginStructure();
        argument >> name >> description >> keys;
        argument.endStructure();
        names << name;
    }
    argument.endArray();
    return names;
}

}  // namespace

QStringList pathsIn(const QVariant& references) {
    QStringList paths;
    const auto argument = references.value<QDBusArgument>();
    const bool several = argument.currentType() == QDBusArgument::ArrayType;
    if (several) argument.beginArray();
    while (!argument.atEnd()) {
        QString service;
        QDBusObjectPath path;
        argument.beginStructure();
        argument >> service >> path;
        argument.endStructure();
        paths << path.path();
        if (!several) break;
    }
    if (several) argument.endArray();  // Only this frees what beginArray() made.
    return paths;
}

void SeenObject::visit(const std::function<void(const SeenObject&)>& visitor) const {
    visitor(*this);
    for (const auto& child : children) child.visit(visitor);
}

QList<SeenObject> SeenObject::all(const std::function<bool(const SeenObject&)>& which) const {
    QList<SeenObject> found;
    visit([&](const SeenObject& object) {
        if (which(object)) found << object;
    });
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
    heard_ << qvariant_cast<QDBusVariant>(message.arguments().value(3)).variant().toString();
}

SeenObject ScreenReader::program() {
    return meanwhile([this] { return look(programPath); });
}

QVariantList ScreenReader::ask(const QString& path, const QString& interface, const QString& member,
                               const QVariantList& arguments) {
    return meanwhile([&] { return call(path, interface, member, arguments); });
}

QVariant ScreenReader::property(const QString& path, const QString& interface,
                                const QString& name) {
    return meanwhile([&] { return get(path, interface, name); });
}

bool ScreenReader::press(const SeenObject& object, const QString& action) {
    const auto number = static_cast<int>(object.actions.indexOf(action));
    return number >= 0 &&
           ask(object.path, spi("Action"), QStringLiteral("DoAction"), {number}).value(0).toBool();
}

QVariantList ScreenReader::call(const QString& path, const QString& interface,
                                const QString& member, const QVariantList& arguments) const {
    auto question = QDBusMessage::createMethodCall(
        QDBusConnection(programsConnection).baseService(), path, interface, member);
    question.setArguments(arguments);
    const auto answer = connection_.call(question, QDBus::Block, patience);
    return answer.type() == QDBusMessage::ReplyMessage ? answer.arguments() : QVariantList();
}

QVariant ScreenReader::get(const QString& path, const QString& interface,
                           const QString& name) const {
    const auto answer = call(path, QStringLiteral("org.freedesktop.DBus.Properties"),
                             QStringLiteral("Get"), {interface, name});
    return qvariant_cast<QDBusVariant>(answer.value(0)).variant();
}

SeenObject ScreenReader::look(const QString& path) const {
    const auto asked = [&](const char* interface, const char* member,
                           const QVariantList& arguments = {}) {
        return call(path, spi(interface), QLatin1String(member), arguments);
    };
    SeenObject object;
    object.path = path;
    object.role = asked("Accessible", "GetRoleName").value(0).toString();
    object.name = get(path, spi("Accessible"), QStringLiteral("Name")).toString();
    object.description = get(path, spi("Accessible"), QStringLiteral("Description")).toString();
    object.states = statesIn(asked("Accessible", "GetState"));
    object.interfaces = asked("Accessible", "GetInterfaces").value(0).toStringList();
    if (object.interfaces.contains(spi("Component"))) {
        constexpr uint onScreen = 0;
        object.area = areaIn(asked("Component", "GetExtents", {onScreen}));
    }
    if (object.interfaces.contains(spi("Action"))) {
        object.actions = actionsIn(asked("Action", "GetActions"));
    }
    if (object.interfaces.contains(spi("Text"))) {
        object.text = asked("Text", "GetText", {0, -1}).value(0).toString();
    }
    const auto children = asked("Accessible", "GetChildren");
    if (children.isEmpty()) return object;
    for (const auto& child : pathsIn(children.first())) object.children << look(child);
    return object;
}

}  // namespace vestigo::test
