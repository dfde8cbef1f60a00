// The results table of a window.
#pragma once

#include <QElapsedTimer>
#include <QPointer>
#include <QTableView>
#include <optional>
#include <string>

#include "ui/model/content_view.h"
#include "ui/table/results_delegate.h"
#include "ui/table/results_header.h"
#include "ui/table/results_model.h"
#include "ui/widgets/refresher.h"

namespace vestigo {

/// A change of the rows keeps the selection, the current cell, the rows in view, a button that is
/// held down and a selection within a path. A rescan begins with no rows; current cell and view
/// return when their rows do, or to the nearest rows. A table without rows shows a symbol, and
/// describes itself to assistive technology, for one of three reasons: nothing was scanned, nothing
/// was found, or nothing passes the filters.
class ResultsView : public QTableView {
    Q_OBJECT
public:
    /// `content` must outlive this object.
    explicit ResultsView(ContentView& content, QWidget* parent = nullptr);

    void refresh(const Changes& changes);

    [[nodiscard]] ResultsModel& results() { return rows_; }
    [[nodiscard]] bool isSelected(int row) const;
    /// The width in points at which all columns and most paths fit at the present text size.
    [[nodiscard]] int roomyWidth() const;
    /// Presses the button of the cell. Returns false if the cell has none.
    bool press(const QModelIndex& index);
    /// Opens an editor over the path in this row, in which the user can select and copy a part. The
    /// selection begins at this character.
    PathSelection& selectPath(int row, int character);

protected:
    bool viewportEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    /// Searches the names of the items, whatever the current column is.
    void keyboardSearch(const QString& typed) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void updateGeometries() override;
    void focusInEvent(QFocusEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    [[nodiscard]] QItemSelectionModel::SelectionFlags selectionCommand(
        const QModelIndex& index, const QEvent* event) const override;
    void initViewItemOption(QStyleOptionViewItem* option) const override;

private:
    /// A row that stays at its place on the screen while other rows change.
    struct Anchor {
        std::string root;
        int y = 0;
    };
    /// The current cell and the view from before their rows went.
    struct Place {
        std::string root;
        int row = -1;  ///< Negative when there was no current cell.
        int column = 0;
        bool isBack = false;    ///< The current cell has returned.
        bool keepsView = true;  ///< False once the user has scrolled.
        int scrolledBy = 0;
        std::optional<Anchor> view;  ///< Absent at the very top.
    };

    void layOutColumns();
    void fitLastColumns();
    /// The width of the columns before the item column, in points.
    [[nodiscard]] int fixedWidth() const;
    /// Scales a base width to the present text size.
    [[nodiscard]] int scaled(double base) const;
    void applyFontSize();
    void applyRows(bool keepView);
    [[nodiscard]] Place placeNow() const;
    void returnToPlace();
    void moveCurrentTo(int row, int column);
    void notifyFocus();
    [[nodiscard]] std::optional<Anchor> anchor() const;
    bool restore(const Anchor& anchor);
    void copyPaths();
    void handleSpace(const QKeyEvent& event);
    [[nodiscard]] bool isTyping() const;
    void selectByKey(int row, int column);
    void openMenuOf(const QModelIndex& index);
    void placePathSelection();
    [[nodiscard]] CellLayout layoutOf(const QModelIndex& index) const;
    [[nodiscard]] QModelIndex buttonAt(const QPoint& position) const;
    [[nodiscard]] QModelIndex pathTextAt(const QPoint& position) const;
    void setHovered(const QModelIndex& index);
    void drawPathSelection(const QPoint& position);

    ContentView& content_;
    ResultsModel rows_;
    ButtonStates buttons_;
    ResultsHeader* header_;
    int itemWidth_ = static_cast<int>(itemColumnIdeal);  ///< May shrink in a narrow window.
    bool itemWidthChosen_ = false;                       ///< The user has chosen `itemWidth_`.
    bool fitting_ = false;
    std::optional<Place> place_;  ///< Absent once the user's place is restored.
    bool placing_ = false;        ///< The code itself moves the current cell.
    QString typed_;               ///< What the user has typed so far to search.
    QElapsedTimer sinceTyped_;
    QPointer<PathSelection> pathSelection_;
    /// The path on whose text the mouse button went down, and where.
    QPersistentModelIndex pathPressed_;
    QPoint pressedAt_;
};

}  // namespace vestigo
