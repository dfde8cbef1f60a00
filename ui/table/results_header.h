// The column headers of the results table.
#pragma once

#include <QAccessible>
#include <QHeaderView>
#include <cstdint>

#include "ui/model/content_view.h"

namespace vestigo {

/// How the rows are sorted by a column; `none` unless it is the primary one.
enum class ColumnSort : std::uint8_t { none, ascending, descending };

/// A click or Space on a sortable column sorts by it. Tab gives the header the focus; Left and
/// Right then move between its columns.
class ResultsHeader : public QHeaderView {
    Q_OBJECT
public:
    /// `content` must outlive this object.
    explicit ResultsHeader(ContentView& content, QWidget* parent = nullptr);

    /// The column on which Space acts.
    [[nodiscard]] int currentColumn() const { return currentColumn_; }
    void setCurrentColumn(int column);
    void sortByColumn(int column);
    [[nodiscard]] ColumnSort sortOf(int column) const;
    /// Shows a changed sort order and reports it to assistive technology.
    void refreshSort();

protected:
    void initStyleOptionForIndex(QStyleOptionHeader* option, int column) const override;
    void paintSection(QPainter* painter, const QRect& area, int column) const override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void notifyAssistive(QAccessible::Event change, int column);
    void drawSection(QPainter& painter, const QRect& area, int column) const;

    ContentView& content_;
    int currentColumn_ = 1;
};

}  // namespace vestigo
