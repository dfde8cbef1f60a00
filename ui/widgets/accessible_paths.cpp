#include "ui/widgets/accessible_paths.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPointer>
#include <unordered_map>

#include "ui/widgets/path_list.h"

namespace vestigo {
namespace {

/// Stands for a row of the list, whatever path is in it.
class AccessibleLine : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    AccessibleLine(PathList& list, int row) : list_(&list), row_(row) {}

    bool isValid() const override { return !list_.isNull() && index().isValid(); }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return list_->window()->windowHandle(); }
    QAccessible::Role role() const override {
        return canBeTicked() ? QAccessible::CheckBox : QAccessible::ListItem;
    }
    QString text(QAccessible::Text kind) const override {
        if (kind != QAccessible::Name) return {};
        return index().data(Qt::AccessibleTextRole).toString();
    }
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override {
        const auto line = list_->visualRect(index());
        return {list_->viewport()->mapToGlobal(line.topLeft()), line.size()};
    }
    QAccessible::State state() const override {
        QAccessible::State state;
        state.focusable = true;
        state.focused = list_->hasFocus() && list_->currentIndex() == index();
        state.checkable = canBeTicked();
        state.checked = index().data(Qt::CheckStateRole).toInt() == Qt::Checked;
        state.offscreen = !list_->viewport()->rect().intersects(list_->visualRect(index()));
        return state;
    }
    QAccessibleInterface* parent() const override {
        return QAccessible::queryAccessibleInterface(list_);
    }
    int childCount() const override { return 0; }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type != QAccessible::ActionInterface) return nullptr;
        return static_cast<QAccessibleActionInterface*>(this);
    }
    QStringList actionNames() const override {
        return canBeTicked() ? QStringList{toggleAction(), setFocusAction()}
                             : QStringList{setFocusAction()};
    }
    void doAction(const QString& name) override {
        if (name == toggleAction()) list_->toggle(index());
        if (name != setFocusAction()) return;
        list_->setCurrentIndex(index());
        list_->setFocus();
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    QModelIndex index() const { return list_->model()->index(row_, 0); }
    bool canBeTicked() const { return index().flags().testFlag(Qt::ItemIsUserCheckable); }

    QPointer<PathList> list_;
    int row_;
};

class AccessiblePaths : public QAccessibleWidget {
public:
    explicit AccessiblePaths(PathList& list)
        : QAccessibleWidget(&list, QAccessible::List), list_(list) {}
    ~AccessiblePaths() override {
        for (const auto& [row, id] : lines_) QAccessible::deleteAccessibleInterface(id);
    }

    QAccessible::State state() const override {
        auto state = QAccessibleWidget::state();
        // Only one object may have the focus: the current line, if there is one.
        state.focused = state.focused && !list_.currentIndex().isValid();
        return state;
    }
    int childCount() const override { return list_.model()->rowCount(); }
    QAccessibleInterface* child(int row) const override {
        if (row < 0 || row >= childCount()) return nullptr;
        auto& id = lines_[row];
        if (id == 0) {
            id = QAccessible::registerAccessibleInterface(new AccessibleLine(list_, row));
        }
        return QAccessible::accessibleInterface(id);
    }
    int indexOfChild(const QAccessibleInterface* part) const override {
        for (const auto& [row, id] : lines_) {
            if (QAccessible::accessibleInterface(id) == part) return row;
        }
        return -1;
    }
    QAccessibleInterface* childAt(int x, int y) const override {
        return child(list_.indexAt(list_.viewport()->mapFromGlobal(QPoint(x, y))).row());
    }
    QAccessibleInterface* focusChild() const override { return child(list_.currentIndex().row()); }

private:
    PathList& list_;
    /// The lines made so far, by row. Mutable, because `child` is const.
    mutable std::unordered_map<int, QAccessible::Id> lines_;
};

QAccessibleInterface* interfaceFor(const QString&, QObject* object) {
    auto* const list = qobject_cast<PathList*>(object);
    return list ? new AccessiblePaths(*list) : nullptr;
}

}  // namespace

void makePathsAccessible() {
    QAccessible::installFactory(interfaceFor);  // Qt ignores a factory that it already has.
}

}  // namespace vestigo
