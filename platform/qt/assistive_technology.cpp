#include "platform/qt/assistive_technology.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QWidget>
#include <utility>

namespace vestigo {

// These types are outside the unnamed namespace because Qt's registry of types needs their names.

/// An object on the bus as AT-SPI names it.
struct AtSpiReference {
    QString service;
    QDBusObjectPath path;
};

/// A row and a column.
struct AtSpiPosition {
    int row = 0;
    int column = 0;
};

QDBusArgument& operator<<(QDBusArgument& argument, const AtSpiReference& reference) {
    argument.beginStructure();
    argument << reference.service << reference.path;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, AtSpiReference& reference) {
    argument.beginStructure();
    argument >> reference.service >> reference.path;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const AtSpiPosition& position) {
    argument.beginStructure();
    argument << position.row << position.column;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, AtSpiPosition& position) {
    argument.beginStructure();
    argument >> position.row >> position.column;
    argument.endStructure();
    return argument;
}

}  // namespace vestigo

Q_DECLARE_METATYPE(vestigo::AtSpiReference)
Q_DECLARE_METATYPE(vestigo::AtSpiPosition)

namespace vestigo {
namespace {

// Names that Qt's bridge uses.
const auto connectionName = QStringLiteral("a11y");
const auto objectsPath = QStringLiteral("/org/a11y/atspi/accessible");

const auto accessibleInterface = QStringLiteral("org.a11y.atspi.Accessible");
const auto componentInterface = QStringLiteral("org.a11y.atspi.Component");
const auto actionInterface = QStringLiteral("org.a11y.atspi.Action");
const auto tableInterface = QStringLiteral("org.a11y.atspi.Table");
const auto cellInterface = QStringLiteral("org.a11y.atspi.TableCell");
const auto selectionInterface = QStringLiteral("org.a11y.atspi.Selection");
const auto propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
constexpr int pollInterval = 100;  // In milliseconds.

void registerTypes() {
    static const bool registered = [] {
        qDBusRegisterMetaType<AtSpiReference>();
        qDBusRegisterMetaType<QList<AtSpiReference>>();
        qDBusRegisterMetaType<AtSpiPosition>();
        return true;
    }();
    static_cast<void>(registered);
}

AtSpiReference referenceTo(QAccessibleInterface* object) {
    const auto path =
        object ? objectsPath + QLatin1Char('/') + QString::number(QAccessible::uniqueId(object))
               : QStringLiteral("/org/a11y/atspi/null");
    return {QDBusConnection(connectionName).baseService(), QDBusObjectPath(path)};
}

QVariant references(const QList<QAccessibleInterface*>& objects) {
    QList<AtSpiReference> result;
    for (auto* const object : objects) result << referenceTo(object);
    return QVariant::fromValue(result);
}

QAccessibleInterface* objectAt(const QString& path) {
    bool isNumber = false;
    const auto id = path.mid(objectsPath.size() + 1).toUInt(&isNumber);
    auto* const object = isNumber ? QAccessible::accessibleInterface(id) : nullptr;
    return object && object->isValid() ? object : nullptr;
}

/// The values of a reply. Absent when the request is for the bridge.
using Answer = std::optional<QVariantList>;

Answer cellProperty(QAccessibleTableCellInterface& cell, const QString& name) {
    QVariant value;
    if (name == QLatin1String("Position")) {
        value = QVariant::fromValue(AtSpiPosition{cell.rowIndex(), cell.columnIndex()});
    } else if (name == QLatin1String("RowSpan")) {
        value = cell.rowExtent();
    } else if (name == QLatin1String("ColumnSpan")) {
        value = cell.columnExtent();
    } else if (name == QLatin1String("Table")) {
        value = QVariant::fromValue(referenceTo(cell.table()));
    } else {
        return std::nullopt;
    }
    return QVariantList{QVariant::fromValue(QDBusVariant(value))};
}

Answer cellAnswer(QAccessibleTableCellInterface& cell, const QString& member) {
    if (member == QLatin1String("GetRowColumnSpan")) {
        return QVariantList{true, cell.rowIndex(), cell.columnIndex(), cell.rowExtent(),
                            cell.columnExtent()};
    }
    if (member == QLatin1String("GetColumnHeaderCells")) {
        return QVariantList{references(cell.columnHeaderCells())};
    }
    if (member == QLatin1String("GetRowHeaderCells")) {
        return QVariantList{references(cell.rowHeaderCells())};
    }
    return std::nullopt;
}

/// Answers requests about the selection. Selected cells are counted row by row.
class Selection {
public:
    explicit Selection(QAccessibleInterface& object)
        : object_(object),
          table_(*object.tableInterface()),
          view_(qobject_cast<QAbstractItemView*>(object.object())) {}

    [[nodiscard]] int count() const { return table_.selectedRowCount() * table_.columnCount(); }
    [[nodiscard]] Answer answer(const QString& member, int number) const {
        if (member == QLatin1String("GetSelectedChild")) {
            return QVariantList{QVariant::fromValue(referenceTo(selected(number)))};
        }
        if (member == QLatin1String("SelectChild")) return QVariantList{select(child(number))};
        if (member == QLatin1String("DeselectChild")) return QVariantList{unselect(child(number))};
        if (member == QLatin1String("DeselectSelectedChild")) {
            return QVariantList{unselect(selected(number))};
        }
        if (member == QLatin1String("IsChildSelected")) {
            const auto* const cell = cellOf(child(number));
            return QVariantList{cell && cell->isSelected()};
        }
        if (member == QLatin1String("SelectAll")) return QVariantList{selectAll()};
        if (member == QLatin1String("ClearSelection")) return QVariantList{clear()};
        return std::nullopt;
    }

private:
    static QAccessibleTableCellInterface* cellOf(QAccessibleInterface* object) {
        return object ? object->tableCellInterface() : nullptr;
    }
    [[nodiscard]] QAccessibleInterface* child(int number) const { return object_.child(number); }
    [[nodiscard]] QAccessibleInterface* selected(int number) const {
        if (number < 0 || number >= count()) return nullptr;
        const int columns = table_.columnCount();
        return table_.cellAt(table_.selectedRows().at(number / columns), number % columns);
    }
    [[nodiscard]] bool select(QAccessibleInterface* object) const {
        const auto* const cell = cellOf(object);
        return cell && table_.selectRow(cell->rowIndex());
    }
    [[nodiscard]] bool unselect(QAccessibleInterface* object) const {
        const auto* const cell = cellOf(object);
        return cell && table_.unselectRow(cell->rowIndex());
    }
    [[nodiscard]] bool selectAll() const {
        if (view_) view_->selectAll();
        return view_ != nullptr;
    }
    /// The view does nothing here when its own list of ranges is empty, so the selection model is
    /// asked directly.
    [[nodiscard]] bool clear() const {
        if (view_) view_->selectionModel()->select(QItemSelection(), QItemSelectionModel::Clear);
        return view_ != nullptr;
    }

    QAccessibleInterface& object_;
    QAccessibleTableInterface& table_;
    QAbstractItemView* view_;
};

Answer propertyAnswer(QAccessibleInterface& object, const QDBusMessage& message) {
    const auto asked = message.arguments();
    if (message.member() != QLatin1String("Get") || asked.size() != 2) return std::nullopt;
    const auto interface = asked[0].toString();
    const auto name = asked[1].toString();
    if (interface == cellInterface && object.tableCellInterface()) {
        return cellProperty(*object.tableCellInterface(), name);
    }
    if (interface == selectionInterface && object.tableInterface() &&
        name == QLatin1String("NSelectedChildren")) {
        const QVariant count = Selection(object).count();
        return QVariantList{QVariant::fromValue(QDBusVariant(count))};
    }
    return std::nullopt;
}

Answer answerTo(QAccessibleInterface& object, const QDBusMessage& message) {
    auto* const cell = object.tableCellInterface();
    if (!cell && !object.tableInterface()) return std::nullopt;
    const auto interface = message.interface();
    const auto member = message.member();
    if (interface == propertiesInterface) return propertyAnswer(object, message);
    if (interface == cellInterface && cell) return cellAnswer(*cell, member);
    if (interface == selectionInterface && !cell) {
        return Selection(object).answer(member, message.arguments().value(0).toInt());
    }
    if (interface != accessibleInterface || member != QLatin1String("GetInterfaces")) {
        return std::nullopt;
    }
    QStringList all{accessibleInterface, componentInterface};
    if (object.actionInterface()) all << actionInterface;
    return QVariantList{cell ? all << cellInterface : all << tableInterface << selectionInterface};
}

}  // namespace

void announce(const QString& text) {
    if (!QAccessible::isActive()) return;
    auto* speaker = QApplication::activeWindow();
    if (!speaker) speaker = QApplication::topLevelWidgets().value(0);
    if (!speaker) return;
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    QAccessibleAnnouncementEvent event(speaker, text);
    QAccessible::updateAccessibility(&event);
#else
    constexpr int polite = 1;
    auto signal = QDBusMessage::createSignal(
        referenceTo(QAccessible::queryAccessibleInterface(speaker)).path.path(),
        QStringLiteral("org.a11y.atspi.Event.Object"), QStringLiteral("Announcement"));
    QDBusConnection connection(connectionName);
    const AtSpiReference program{connection.baseService(),
                                 QDBusObjectPath(objectsPath + QStringLiteral("/root"))};
    registerTypes();
    signal << QString() << polite << 0 << QVariant::fromValue(QDBusVariant(text))
           << QVariant::fromValue(program);
    connection.send(signal);
#endif
}

AtSpiTables::AtSpiTables() {
    registerTypes();
    untilConnected_.setInterval(pollInterval);
    QObject::connect(&untilConnected_, &QTimer::timeout, this, &AtSpiTables::standBeforeBridge);
    QAccessible::installActivationObserver(this);
    accessibilityActiveChanged(QAccessible::isActive());
}

AtSpiTables::~AtSpiTables() {
    QAccessible::removeActivationObserver(this);
    if (!bridge_) return;
    QDBusConnection connection(connectionName);
    connection.unregisterObject(objectsPath);
    connection.registerVirtualObject(objectsPath, bridge_, QDBusConnection::SubPath);
}

/// The bridge connects to the bus some time after the activation, so its object is looked for again
/// and again.
void AtSpiTables::accessibilityActiveChanged(bool active) {
    if (active && !bridge_) {
        untilConnected_.start();
    } else if (!active) {
        untilConnected_.stop();
    }
}

void AtSpiTables::standBeforeBridge() {
    QDBusConnection connection(connectionName);
    auto* const found =
        qobject_cast<QDBusVirtualObject*>(connection.objectRegisteredAt(objectsPath));
    if (!found) return;
    untilConnected_.stop();
    connection.unregisterObject(objectsPath);
    if (connection.registerVirtualObject(objectsPath, this, QDBusConnection::SubPath)) {
        bridge_ = found;
    } else {
        connection.registerVirtualObject(objectsPath, found, QDBusConnection::SubPath);
    }
}

QString AtSpiTables::introspect(const QString& path) const {
    return bridge_ ? bridge_->introspect(path) : QString();
}

bool AtSpiTables::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    if (auto* const object = objectAt(message.path())) {
        if (const auto answer = answerTo(*object, message)) {
            return connection.send(message.createReply(*answer));
        }
    }
    return bridge_ && bridge_->handleMessage(message, connection);
}

}  // namespace vestigo
