#include "ui/table/results_header.h"

#include <QKeyEvent>
#include <QPainter>
#include <QStyleOptionHeader>
#include <algorithm>

#include "ui/model/cell_content.h"
#include "ui/table/results_delegate.h"
#include "ui/widgets/theme.h"

namespace vestigo {
namespace {

std::optional<SortKey> keyOf(int column) {
    return columnTraits(static_cast<Column>(column)).sortKey;
}

}  // namespace

ResultsHeader::ResultsHeader(ContentView& content, QWidget* parent)
    : QHeaderView(Qt::Horizontal, parent), content_(content) {
    setSectionsClickable(true);
    setSectionsMovable(false);
    setHighlightSections(false);
    setMinimumSectionSize(20);
    setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(tr("Columns"));
    connect(this, &QHeaderView::sectionClicked, this, &ResultsHeader::sortByColumn);
}

void ResultsHeader::sortByColumn(int column) {
    if (const auto key = keyOf(column)) content_.sortBy(*key);
}

void ResultsHeader::setCurrentColumn(int column) {
    if (column == currentColumn_) return;
    updateSection(currentColumn_);
    currentColumn_ = column;
    updateSection(currentColumn_);
    if (hasFocus()) notifyAssistive(QAccessible::Focus, currentColumn_);
}

ColumnSort ResultsHeader::sortOf(int column) const {
    const auto& order = content_.sortOrder();
    if (order.empty() || keyOf(column) != order.front().key) return ColumnSort::none;
    return order.front().descending ? ColumnSort::descending : ColumnSort::ascending;
}

void ResultsHeader::refreshSort() {
    viewport()->update();
    for (int column = 0; column < count(); ++column) {
        if (keyOf(column)) notifyAssistive(QAccessible::DescriptionChanged, column);
    }
}

/// In the accessible table, the headers are the first children.
void ResultsHeader::notifyAssistive(QAccessible::Event change, int column) {
    QAccessibleEvent event(parentWidget(), change);
    event.setChild(column);
    QAccessible::updateAccessibility(&event);
}

void ResultsHeader::initStyleOptionForIndex(QStyleOptionHeader* option, int column) const {
    QHeaderView::initStyleOptionForIndex(option, column);
    // Qt would show its own indicator after a click on any column, sortable or not.
    switch (sortOf(column)) {
        case ColumnSort::ascending: option->sortIndicator = QStyleOptionHeader::SortDown; break;
        case ColumnSort::descending: option->sortIndicator = QStyleOptionHeader::SortUp; break;
        case ColumnSort::none: break;
    }
}

void ResultsHeader::paintSection(QPainter* painter, const QRect& area, int column) const {
    painter->save();
    drawSection(*painter, area, column);
    painter->restore();
    if (!hasFocus() || column != currentColumn_) return;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(markColor(palette()), 1.5));
    painter->drawRoundedRect(QRectF(area).adjusted(1.5, 1.5, -1.5, -1.5), 4, 4);
    painter->restore();
}

/// Draws as the style does, except that the title is aligned with the content of the cells below.
void ResultsHeader::drawSection(QPainter& painter, const QRect& area, int column) const {
    QStyleOptionHeaderV2 option;
    initStyleOption(&option);
    initStyleOptionForIndex(&option, column);
    option.rect = area;
    painter.setClipRect(area);
    style()->drawControl(QStyle::CE_HeaderSection, &option, &painter, this);
    auto part = option;
    part.rect = style()->subElementRect(QStyle::SE_HeaderLabel, &option, this);
    part.rect.setLeft(area.left() + cellPadding);
    style()->drawControl(QStyle::CE_HeaderLabel, &part, &painter, this);
    if (option.sortIndicator == QStyleOptionHeader::None) return;
    part.rect = style()->subElementRect(QStyle::SE_HeaderArrow, &option, this);
    style()->drawPrimitive(QStyle::PE_IndicatorHeaderArrow, &part, &painter, this);
}

void ResultsHeader::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Left: return setCurrentColumn(std::max(currentColumn_ - 1, 0));
        case Qt::Key_Right: return setCurrentColumn(std::min(currentColumn_ + 1, count() - 1));
        case Qt::Key_Space: return sortByColumn(currentColumn_);
        default: event->ignore();
    }
}

void ResultsHeader::focusInEvent(QFocusEvent* event) {
    QHeaderView::focusInEvent(event);
    updateSection(currentColumn_);
    // Qt reports the whole header as focused first, and the last report counts.
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (hasFocus()) notifyAssistive(QAccessible::Focus, currentColumn_);
        },
        Qt::QueuedConnection);
}

void ResultsHeader::focusOutEvent(QFocusEvent* event) {
    QHeaderView::focusOutEvent(event);
    updateSection(currentColumn_);
}

}  // namespace vestigo
