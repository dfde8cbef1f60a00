// The header of the results table.
#pragma once

#include <QAccessible>
#include <QHeaderView>
#include <cstdint>

#include "ui/model/content_view.h"

namespace vestigo {

/// Whether the rows stand in the order of a column.
enum class ColumnSort : std::uint8_t { none, ascending, descending };

/// A click, or Space, on a column that can be sorted by sorts. Left and Right choose a column while
/// it has the focus, which Tab gives it.
class ResultsHeader : public QHeaderView {
    Q_OBJECT
public:
    /// `content` must outlive this object.
    explicit ResultsHeader(ContentView& content, QWidget* parent = nullptr);

    /// The column that the keyboard is at.
    [[nodiscard]] int currentColumn() const { return currentColumn_; }
    void setCurrentColumn(int column);
    void sortByColumn(int column);
    [[nodiscard]] ColumnSort sortOf(int column) const;
    /// Shows the model's sort order.
    void refreshSort();

protected:
    void initStyleOptionForIndex(QStyleOptionHeader* option, int column) const override;
    void paintSection(QPainter* painter, const QRect& area, int column) const override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void tell(QAccessible::Event what, int column);
    void drawSection(QPainter& painter, const QRect& area, int column) const;

    ContentView& content_;
    int currentColumn_ = 1;
};

}  // namespace vestigo
