#include "ui/table/accessible_table.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPointer>
#include <unordered_map>

#include "ui/table/accessible_parts.h"
#include "ui/table/results_view.h"
#include "ui/widgets/text.h"

namespace vestigo {
namespace {

/// Numbers its children row by row, the headers first. A child is made when it is first asked for,
/// since a table of a hundred thousand rows is never read as a whole.
class AccessibleTable : public QAccessibleWidget, public QAccessibleTableInterface {
public:
    explicit AccessibleTable(ResultsView& view)
        : QAccessibleWidget(&view, QAccessible::Table), view_(view) {}
    ~AccessibleTable() override { forget(); }

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::TableInterface)
            return static_cast<QAccessibleTableInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    QAccessible::State state() const override {
        auto state = QAccessibleWidget::state();
        state.multiSelectable = true;
        // Only one object may have the focus: the current cell, if there is one.
        state.focused = state.focused && !view_.currentIndex().isValid();
        return state;
    }

    int childCount() const override { return (rowCount() + 1) * columnCount(); }
    QAccessibleInterface* child(int number) const override {
        if (number < 0 || number >= childCount()) return nullptr;
        const auto known = parts_.find(number);
        if (known != parts_.end()) return QAccessible::accessibleInterface(known->second);
        const int column = number % columnCount();
        const int row = number / columnCount() - 1;
        auto* const part =
            row < 0 ? accessibleHeader(view_, column) : accessibleCell(view_, row, column);
        parts_.emplace(number, QAccessible::registerAccessibleInterface(part));
        return part;
    }
    int indexOfChild(const QAccessibleInterface* part) const override {
        for (const auto& [number, id] : parts_) {
            if (QAccessible::accessibleInterface(id) == part) return number;
        }
        return -1;
    }
    QAccessibleInterface* childAt(int x, int y) const override {
        const auto* const header = view_.horizontalHeader();
        const auto inHeader = header->viewport()->mapFromGlobal(QPoint(x, y));
        if (header->viewport()->rect().contains(inHeader)) {
            return child(header->logicalIndexAt(inHeader));
        }
        const auto index = view_.indexAt(view_.viewport()->mapFromGlobal(QPoint(x, y)));
        return index.isValid() ? cellAt(index.row(), index.column()) : nullptr;
    }
    QAccessibleInterface* focusChild() const override {
        if (const auto* const header = static_cast<ResultsHeader*>(view_.horizontalHeader());
            header->hasFocus()) {
            return child(header->currentColumn());
        }
        const auto current = view_.currentIndex();
        return current.isValid() ? cellAt(current.row(), current.column()) : nullptr;
    }

    QAccessibleInterface* caption() const override { return nullptr; }
    QAccessibleInterface* summary() const override { return nullptr; }
    QAccessibleInterface* cellAt(int row, int column) const override {
        return child((row + 1) * columnCount() + column);
    }
    int selectedCellCount() const override { return selectedRowCount() * columnCount(); }
    QList<QAccessibleInterface*> selectedCells() const override {
        QList<QAccessibleInterface*> cells;
        for (const int row : selectedRows()) {
            for (int column = 0; column < columnCount(); ++column) cells << cellAt(row, column);
        }
        return cells;
    }
    QString columnDescription(int column) const override {
        return toQString(columnTraits(static_cast<Column>(column)).name);
    }
    QString rowDescription(int) const override { return {}; }
    int selectedColumnCount() const override { return 0; }
    int selectedRowCount() const override { return static_cast<int>(selectedRows().size()); }
    int columnCount() const override { return view_.model()->columnCount(); }
    int rowCount() const override { return view_.model()->rowCount(); }
    QList<int> selectedColumns() const override { return {}; }
    QList<int> selectedRows() const override {
        QList<int> rows;
        for (int row = 0; row < rowCount(); ++row) {
            if (view_.isSelected(row)) rows << row;
        }
        return rows;
    }
    bool isColumnSelected(int) const override { return false; }
    bool isRowSelected(int row) const override {
        return row >= 0 && row < rowCount() && view_.isSelected(row);
    }
    bool selectRow(int row) override { return applyToRow(row, QItemSelectionModel::Select); }
    bool unselectRow(int row) override { return applyToRow(row, QItemSelectionModel::Deselect); }
    bool selectColumn(int) override { return false; }
    bool unselectColumn(int) override { return false; }
    void modelChange(QAccessibleTableModelChangeEvent*) override { forget(); }

private:
    bool applyToRow(int row, QItemSelectionModel::SelectionFlag command) {
        if (row < 0 || row >= rowCount()) return false;
        view_.selectionModel()->select(view_.model()->index(row, 0),
                                       command | QItemSelectionModel::Rows);
        return true;
    }
    void forget() {
        for (const auto& [number, id] : std::exchange(parts_, {})) {
            QAccessible::deleteAccessibleInterface(id);
        }
    }

    ResultsView& view_;
    /// The children made so far, by number. Mutable, because `child` is const.
    mutable std::unordered_map<int, QAccessible::Id> parts_;
};

QAccessibleInterface* interfaceFor(const QString&, QObject* object) {
    auto* const view = qobject_cast<ResultsView*>(object);
    return view ? new AccessibleTable(*view) : nullptr;
}

}  // namespace

void makeResultsAccessible() {
    static const bool installed = [] {
        QAccessible::installFactory(interfaceFor);
        return true;
    }();
    static_cast<void>(installed);
}

}  // namespace vestigo
