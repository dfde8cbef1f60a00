// The results table: the rows of a window's model, with what the user can do to them.
#pragma once

#include <QPointer>
#include <QTableView>
#include <optional>
#include <string>

#include "ui/changes.h"
#include "ui/content_view.h"
#include "ui/path_selection.h"
#include "ui/results_delegate.h"
#include "ui/results_header.h"
#include "ui/results_model.h"

namespace vestigo {

/// Redraws keep the selection, the current cell, what is in view, a button that is held down and a
/// part of a path that is being selected.
class ResultsView : public QTableView {
    Q_OBJECT
public:
    /// `content` must outlive this object.
    explicit ResultsView(ContentView& content, QWidget* parent = nullptr);

    void refresh(const Changes& changes);

    [[nodiscard]] ResultsModel& results() { return rows_; }
    [[nodiscard]] bool isSelected(int row) const;
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
    void contextMenuEvent(QContextMenuEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void updateGeometries() override;
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

    void layOutColumns();
    void fitLastColumns();
    void takeFontSize();
    void takeRows(bool keepView);
    void moveCurrentTo(int row, int column);
    [[nodiscard]] std::optional<Anchor> anchor() const;
    void restore(const Anchor& anchor);
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
    int itemWidth_ = static_cast<int>(itemColumnIdeal);  ///< As the user wants it.
    bool fitting_ = false;
    QPointer<PathSelection> pathSelection_;
    /// Where the button went down on the text of a path, and on which.
    QPersistentModelIndex pathPressed_;
    QPoint pressedAt_;
};

}  // namespace vestigo
