// The results table: the rows of a window's model, with what the user can do to them.
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

/// Redraws keep the selection, the current cell, what is in view, a button that is held down and a
/// part of a path that is being selected. A rescan, which begins with no rows, brings the current
/// cell and what is in view back with their rows, or else with the nearest ones. A table without
/// rows shows by a symbol, and tells assistive technology, whether nothing was scanned, nothing
/// found, or nothing passes the filters.
class ResultsView : public QTableView {
    Q_OBJECT
public:
    /// `content` must outlive this object.
    explicit ResultsView(ContentView& content, QWidget* parent = nullptr);

    void refresh(const Changes& changes);

    [[nodiscard]] ResultsModel& results() { return rows_; }
    [[nodiscard]] bool isSelected(int row) const;
    /// The width, in points, in which every column and most of a path can be seen at the present
    /// text size.
    [[nodiscard]] int roomyWidth() const;
    /// Does what the button of a cell does; nothing when it has none.
    bool press(const QModelIndex& index);
    /// Lets a part of the path in this row be selected and copied, from this character on.
    PathSelection& selectPath(int row, int character);

protected:
    bool viewportEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    /// Looks for items by what their names begin with, whatever the current column.
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
    /// What stays where it is on screen while rows come and go around it.
    struct Anchor {
        std::string root;
        int y = 0;
    };
    /// Where the user was before the rows, or that of the current cell, went.
    struct Place {
        std::string root;
        int row = -1;  ///< Negative: there was no current cell.
        int column = 0;
        bool isBack = false;    ///< The current cell is there again.
        bool keepsView = true;  ///< Until the user scrolls.
        int scrolledBy = 0;
        std::optional<Anchor> view;  ///< Absent: at the very top.
    };

    void layOutColumns();
    void fitLastColumns();
    /// Of the columns before the item, in points.
    [[nodiscard]] int fixedWidth() const;
    /// A base width at the present text size.
    [[nodiscard]] int scaled(double base) const;
    void applyFontSize();
    void applyRows(bool keepView);
    [[nodiscard]] Place placeNow() const;
    void returnToPlace();
    void moveCurrentTo(int row, int column);
    void tellFocus();
    [[nodiscard]] std::optional<Anchor> anchor() const;
    bool restore(const Anchor& anchor);
    void copyPaths();
    void takeSpace(const QKeyEvent& event);
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
    int itemWidth_ = static_cast<int>(itemColumnIdeal);  ///< Where there is room for it.
    bool itemWidthChosen_ = false;                       ///< By the user, and kept.
    bool fitting_ = false;
    std::optional<Place> place_;  ///< To return to as rows come in; absent: the user is there.
    bool placing_ = false;        ///< What moves the current cell now is not the user.
    QString typed_;               ///< So far, for the search by typing.
    QElapsedTimer sinceTyped_;
    QPointer<PathSelection> pathSelection_;
    /// Where the button went down on the text of a path, and on which.
    QPersistentModelIndex pathPressed_;
    QPoint pressedAt_;
};

}  // namespace vestigo
