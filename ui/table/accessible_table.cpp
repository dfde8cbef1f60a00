// Qt presents tables by itself, but it would read the selection from its own list of selected
// ranges, which `RowSelection` keeps empty, and it knows nothing of buttons in cells. So the table,
// its headers, cells and buttons have interfaces of their own.
//
// Headers, cells and buttons stand for a place, not for a group: they ask the model at every call,
// and become invalid when their place is outside of the table. Once registered they belong to
// QAccessible and are known by a number. `AccessibleTable` keeps the numbers of its children, and
// deletes the children when the rows change.
#include "ui/table/accessible_table.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPointer>
#include <optional>
#include <unordered_map>

#include "ui/table/results_view.h"
#include "ui/widgets/text.h"

namespace vestigo {
namespace {

/// The base class of headers, cells and buttons.
class Part : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    Part(ResultsView& view, QAccessible::Role role) : view_(&view), role_(role) {}

    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return view_->window()->windowHandle(); }
    QAccessible::Role role() const override { return role_; }
    void setText(QAccessible::Text, const QString&) override {}
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    QAccessibleInterface* parent() const override {
        return QAccessible::queryAccessibleInterface(view_);
    }
    int childCount() const override { return 0; }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type != QAccessible::ActionInterface) return nullptr;
        return static_cast<QAccessibleActionInterface*>(this);
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

protected:
    ResultsView& view() const { return *view_; }
    bool hasView() const { return !view_.isNull(); }

private:
    QPointer<ResultsView> view_;
    QAccessible::Role role_;
};

class Header : public Part {
public:
    Header(ResultsView& view, int column)
        : Part(view, QAccessible::ColumnHeader), column_(column) {}

    bool isValid() const override { return hasView(); }
    QString text(QAccessible::Text kind) const override {
        if (kind == QAccessible::Name) return toQString(columnTraits(column()).name);
        if (kind != QAccessible::Description) return {};
        switch (columns()->sortOf(column_)) {
            case ColumnSort::ascending: return ResultsHeader::tr("Sorted ascending");
            case ColumnSort::descending: return ResultsHeader::tr("Sorted descending");
            case ColumnSort::none: break;
        }
        return {};
    }
    QRect rect() const override {
        const auto* const header = view().horizontalHeader();
        const QPoint corner(header->sectionViewportPosition(column_), 0);
        return {header->viewport()->mapToGlobal(corner),
                QSize(header->sectionSize(column_), header->height())};
    }
    QAccessible::State state() const override {
        QAccessible::State state;
        const auto* const header = columns();
        state.focusable = true;
        state.focused = header->hasFocus() && header->currentColumn() == column_;
        return state;
    }
    QStringList actionNames() const override {
        return columnTraits(column()).sortKey ? QStringList{pressAction()} : QStringList{};
    }
    void doAction(const QString& name) override {
        if (name == pressAction()) columns()->sortByColumn(column_);
    }

private:
    Column column() const { return static_cast<Column>(column_); }
    ResultsHeader* columns() const {
        return static_cast<ResultsHeader*>(view().horizontalHeader());
    }
    int column_;
};

/// The base class of cells and of buttons in them.
class InCell : public Part {
public:
    InCell(ResultsView& view, QAccessible::Role role, int row, int column)
        : Part(view, role), row_(row), column_(column) {}

    bool isValid() const override { return hasView() && index().isValid(); }

protected:
    int row() const { return row_; }
    int column() const { return column_; }
    QModelIndex index() const { return view().model()->index(row_, column_); }
    CellContent content() const { return view().results().cell(index()); }
    QRect onScreen(const QRect& area) const {
        return {view().viewport()->mapToGlobal(area.topLeft()), area.size()};
    }

private:
    int row_;
    int column_;
};

class Button : public InCell {
public:
    Button(ResultsView& view, QAccessibleInterface& cell, int row, int column)
        : InCell(view, QAccessible::Button, row, column), cell_(cell) {}

    QAccessibleInterface* parent() const override { return &cell_; }
    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Name ? toQString(content().symbol->help) : QString();
    }
    QRect rect() const override {
        const auto cell = view().visualRect(index());
        return onScreen(
            ResultsDelegate::layout(content(), cell, view().font()).button.toAlignedRect());
    }
    QAccessible::State state() const override {
        QAccessible::State state;
        state.offscreen = !view().viewport()->rect().intersects(view().visualRect(index()));
        return state;
    }
    bool isValid() const override { return InCell::isValid() && content().symbol.has_value(); }
    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString& name) override {
        if (name == pressAction()) static_cast<void>(view().press(index()));
    }

private:
    QAccessibleInterface& cell_;
};

class Cell : public InCell, public QAccessibleTableCellInterface {
public:
    Cell(ResultsView& view, int row, int column) : InCell(view, QAccessible::Cell, row, column) {}
    ~Cell() override {
        if (button_) QAccessible::deleteAccessibleInterface(*button_);
    }

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::TableCellInterface) {
            return static_cast<QAccessibleTableCellInterface*>(this);
        }
        return InCell::interface_cast(type);
    }
    QString text(QAccessible::Text kind) const override {
        const auto cell = content();
        const auto symbolHelp = cell.symbol ? cell.symbol->help : std::string_view();
        if (kind == QAccessible::Name) return toQString(cell.text.empty() ? symbolHelp : cell.text);
        if (kind != QAccessible::Description) return {};
        // A button has a name of its own, and help that equals the text would be spoken twice.
        const bool onlyShown = cell.symbol && !cell.symbol->action;
        if (onlyShown) return toQString(symbolHelp);
        return cell.help == cell.text ? QString() : toQString(cell.help);
    }
    QRect rect() const override { return onScreen(view().visualRect(index())); }
    QAccessible::State state() const override {
        QAccessible::State state;
        state.selectable = true;
        state.focusable = true;
        state.multiSelectable = true;
        state.selected = isSelected();
        state.focused = view().hasFocus() && view().currentIndex() == index();
        state.offscreen = !view().viewport()->rect().intersects(view().visualRect(index()));
        return state;
    }
    int childCount() const override {
        const auto symbol = content().symbol;
        return symbol && symbol->action ? 1 : 0;
    }
    QAccessibleInterface* child(int number) const override {
        if (number != 0 || childCount() == 0) return nullptr;
        if (!button_) {
            auto* const self = const_cast<Cell*>(this);
            button_ = QAccessible::registerAccessibleInterface(
                new Button(view(), *self, row(), column()));
        }
        return QAccessible::accessibleInterface(*button_);
    }
    int indexOfChild(const QAccessibleInterface* part) const override {
        return part && part == child(0) ? 0 : -1;
    }
    QAccessibleInterface* childAt(int x, int y) const override {
        auto* const button = child(0);
        return button && button->rect().contains(x, y) ? button : nullptr;
    }
    QStringList actionNames() const override {
        return childCount() > 0 ? QStringList{pressAction(), toggleAction()}
                                : QStringList{toggleAction()};
    }
    void doAction(const QString& name) override {
        if (name == pressAction()) static_cast<void>(view().press(index()));
        if (name != toggleAction()) return;
        view().selectionModel()->select(index(), QItemSelectionModel::Toggle);
    }

    bool isSelected() const override { return view().isSelected(row()); }
    QList<QAccessibleInterface*> columnHeaderCells() const override {
        return {table()->child(column())};
    }
    QList<QAccessibleInterface*> rowHeaderCells() const override { return {}; }
    int columnIndex() const override { return column(); }
    int rowIndex() const override { return row(); }
    int columnExtent() const override { return 1; }
    int rowExtent() const override { return 1; }
    QAccessibleInterface* table() const override { return parent(); }

private:
    mutable std::optional<QAccessible::Id> button_;
};

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
        QAccessibleInterface* part = nullptr;
        if (row < 0) {
            part = new Header(view_, column);
        } else {
            part = new Cell(view_, row, column);
        }
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
