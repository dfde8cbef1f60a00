// Mouse and keyboard in the table: buttons in cells, parts of paths, the row menu, copying, and the
// search for an item by its name.
#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <functional>
#include <utility>

#include "ui/table/results_view.h"
#include "ui/widgets/symbols.h"
#include "ui/widgets/text.h"

namespace vestigo {
namespace {

/// Opens the row's menu at `place`, in screen coordinates; it deletes itself. A rescan may replace
/// the group while the menu is open: its items act on the group that has the same root then, if
/// there is one.
void openRowMenu(ContentView& content, const BundleGroup& group, const QPoint& place,
                 QWidget& parent) {
    auto* const menu = new QMenu(&parent);
    menu->setObjectName(QStringLiteral("rowMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto add = [&, root = group.root](const QString& text,
                                            std::function<void(const BundleGroup&)> action) {
        auto* const item = menu->addAction(text);
        QObject::connect(item, &QAction::triggered, menu,
                         [&content, root, action = std::move(action)] {
                             if (const auto* const now = content.groupWithRoot(root)) action(*now);
                         });
        return item;
    };
    add(QObject::tr("Inspect Binaries…"),
        [&content](const BundleGroup& now) { content.inspect(now); });
    add(QObject::tr("Reveal in Finder"),
        [&content](const BundleGroup& now) { content.reveal(now.root); });
    add(QObject::tr("Copy Path"),
        [&content](const BundleGroup& now) { content.copyPath(now.root, false); });
    menu->addSeparator();
    auto* const trash =
        add(group.isBundle ? QObject::tr("Move Bundle to Trash…") : QObject::tr("Move to Trash…"),
            [&content](const BundleGroup& now) { content.requestDeleteOfRow(now); });
    trash->setIcon(symbolIcon(Symbol::trash, Tint::red));
    trash->setEnabled(content.isDeletable(group));
    menu->popup(place);
}

}  // namespace

void ResultsView::mousePressEvent(QMouseEvent* event) {
    pathPressed_ = QModelIndex();
    if (event->button() == Qt::LeftButton) {
        if (const auto button = buttonAt(event->pos()); button.isValid()) {
            buttons_.pressed = button;
            selectionModel()->setCurrentIndex(button, QItemSelectionModel::NoUpdate);
            update(button);
            return;
        }
        pathPressed_ = pathTextAt(event->pos());
        pressedAt_ = event->pos();
    }
    QTableView::mousePressEvent(event);
}

void ResultsView::mouseMoveEvent(QMouseEvent* event) {
    setHovered(buttonAt(event->pos()));
    if (buttons_.pressed.isValid()) return;
    if (pathPressed_.isValid() && event->buttons().testFlag(Qt::LeftButton)) {
        return drawPathSelection(event->pos());
    }
    QTableView::mouseMoveEvent(event);
}

void ResultsView::drawPathSelection(const QPoint& position) {
    if (!pathSelection_) {
        if ((position - pressedAt_).manhattanLength() < QApplication::startDragDistance()) return;
        const auto text = layoutOf(pathPressed_).text;
        const auto path = toQString(rows_.group(pathPressed_.row()).root);
        selectPath(pathPressed_.row(),
                   characterAt(path, font(), text.width(), pressedAt_.x() - text.left()));
    }
    pathSelection_->extendTo(position.x() - pathSelection_->x());
}

void ResultsView::mouseReleaseEvent(QMouseEvent* event) {
    const QModelIndex pressed = buttons_.pressed;
    buttons_.pressed = QModelIndex();
    if (event->button() == Qt::LeftButton && pressed.isValid()) {
        update(pressed);
        if (buttonAt(event->pos()) == pressed) press(pressed);
        return;
    }
    pathPressed_ = QModelIndex();
    QTableView::mouseReleaseEvent(event);
}

void ResultsView::mouseDoubleClickEvent(QMouseEvent* event) {
    const auto path = pathTextAt(event->pos());
    if (event->button() == Qt::LeftButton && path.isValid()) {
        return selectPath(path.row(), 0).selectAll();
    }
    // A double-click on a button counts as two clicks.
    if (buttonAt(event->pos()).isValid()) return mousePressEvent(event);
    QTableView::mouseDoubleClickEvent(event);
}

void ResultsView::keyPressEvent(QKeyEvent* event) {
    const auto current = currentIndex();
    const bool plain = event->modifiers() == Qt::NoModifier;
    if (event->matches(QKeySequence::Delete) || (plain && event->key() == Qt::Key_Backspace)) {
        return content_.requestDeleteOfSelection();
    }
    if (event->matches(QKeySequence::Copy)) return copyPaths();
    if (event->key() == Qt::Key_Space) return handleSpace(*event);
    if (plain && event->key() == Qt::Key_F2 && current.isValid()) {
        return selectPath(current.row(), 0).selectAll();
    }
    if (event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier) {
        return openMenuOf(current);
    }
    QTableView::keyPressEvent(event);
}

void ResultsView::copyPaths() {
    const auto current = currentIndex();
    if (!content_.selection().empty()) {
        content_.copySelectedPaths();
    } else if (current.isValid()) {
        content_.copyPath(rows_.group(current.row()).root, false);
    }
}

/// While the user types a name, Space is part of it. Else it presses the button of the current
/// cell, or, without a button, selects the row.
void ResultsView::handleSpace(const QKeyEvent& event) {
    const auto current = currentIndex();
    const bool plain = event.modifiers() == Qt::NoModifier;
    if (plain && isTyping()) return keyboardSearch(event.text());
    if (plain && press(current)) return;
    if (current.isValid()) {
        selectionModel()->select(current, selectionCommand(current, &event));
    }
}

bool ResultsView::isTyping() const {
    return !typed_.isEmpty() && sinceTyped_.elapsed() < QApplication::keyboardInputInterval();
}

void ResultsView::keyboardSearch(const QString& typed) {
    if (typed.isEmpty() || !typed.front().isPrint() || rows_.rowCount() == 0) return;
    const bool begins = !isTyping();
    typed_ = begins ? typed : typed_ + typed;
    sinceTyped_.start();
    // Typing one letter repeatedly moves through the items that begin with it.
    const bool repeats = typed_.count(typed_.front()) == typed_.size();
    const auto wanted = repeats ? typed_.left(1) : typed_;
    const auto current = currentIndex();
    const int first = current.isValid() ? current.row() + (begins || repeats ? 1 : 0) : 0;
    for (int step = 0; step < rows_.rowCount(); ++step) {
        const int row = (first + step) % rows_.rowCount();
        const auto name =
            toQString(rows_.group(row).name()).normalized(QString::NormalizationForm_C);
        if (!name.startsWith(wanted, Qt::CaseInsensitive)) continue;
        return selectByKey(row,
                           current.isValid() ? current.column() : static_cast<int>(Column::item));
    }
}

/// Selects the row by a made-up arrow key from the row beside it, because only then Qt lets a later
/// range begin at this row.
void ResultsView::selectByKey(int row, int column) {
    if (rows_.rowCount() == 1) return selectRow(row);
    const int beside = row > 0 ? row - 1 : row + 1;
    selectionModel()->setCurrentIndex(rows_.index(beside, column), QItemSelectionModel::NoUpdate);
    QKeyEvent arrow(QEvent::KeyPress, row > beside ? Qt::Key_Down : Qt::Key_Up, Qt::NoModifier);
    QTableView::keyPressEvent(&arrow);
}

void ResultsView::contextMenuEvent(QContextMenuEvent* event) {
    if (event->reason() != QContextMenuEvent::Mouse) return openMenuOf(currentIndex());
    const auto index = indexAt(event->pos());
    if (!index.isValid()) return;
    selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
    openRowMenu(content_, rows_.group(index.row()), event->globalPos(), *this);
}

void ResultsView::openMenuOf(const QModelIndex& index) {
    if (!index.isValid()) return;
    scrollTo(index);
    openRowMenu(content_, rows_.group(index.row()),
                viewport()->mapToGlobal(visualRect(index).bottomLeft()), *this);
}

/// A right click leaves the selection alone, as the row menu acts on its own row. A click with
/// Control toggles by the model's selection; Qt would consult its own, which is empty.
QItemSelectionModel::SelectionFlags ResultsView::selectionCommand(const QModelIndex& index,
                                                                  const QEvent* event) const {
    const bool press = event && event->type() == QEvent::MouseButtonPress;
    if (press && static_cast<const QMouseEvent*>(event)->button() == Qt::RightButton) {
        return QItemSelectionModel::NoUpdate;
    }
    auto command = QTableView::selectionCommand(index, event);
    if (press && command.testFlag(QItemSelectionModel::Toggle) && index.isValid()) {
        command.setFlag(QItemSelectionModel::Toggle, false);
        command.setFlag(isSelected(index.row()) ? QItemSelectionModel::Deselect
                                                : QItemSelectionModel::Select);
    }
    return command;
}

}  // namespace vestigo
