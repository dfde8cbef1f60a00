// The user's place in the table, the current cell and what is in view, must survive changes of the
// rows. `applyRows` keeps what is in view by an anchor: the root of one visible row and its
// distance from the top. A rescan is harder, as it begins with no rows and brings them in one by
// one. The place from before the rows went is kept in `place_`, and each refresh returns to as much
// of it as has arrived (`returnToPlace`). `place_` ends when the scan ends or when the user moves
// the current cell; scrolling by the user ends only the part that restores the view. While the code
// itself moves the current cell, `placing_` is set, so that this does not count as the user's
// doing.
#include "ui/table/results_view.h"

#include <QAccessible>
#include <QApplication>
#include <QHoverEvent>
#include <QPainter>
#include <QScrollBar>
#include <algorithm>
#include <cmath>
#include <utility>

#include "ui/table/row_selection.h"
#include "ui/widgets/symbols.h"
#include "ui/widgets/text.h"
#include "ui/widgets/theme.h"

namespace vestigo {
namespace {

constexpr int itemColumn = static_cast<int>(Column::item);
constexpr int pathColumn = static_cast<int>(Column::path);
constexpr int leastItemWidth = static_cast<int>(itemColumnMinimum);
constexpr double leastPathWidth = 200;  ///< In points, for text of 13 points.
constexpr double roomyPathWidth = 340;  ///< In points, for text of 13 points; most paths fit.
constexpr int pixelsPerStep = 24;
constexpr int emptySymbolSize = 72;

/// The reason why a table has no rows, as a symbol and as a text for screen readers.
struct Emptiness {
    Symbol symbol;
    QString words;
};

/// Absent while there are rows, or while some may still be found or read.
std::optional<Emptiness> emptinessOf(const ContentView& content, int rows) {
    const auto& scanner = content.scanner();
    if (rows > 0 || scanner.scanning() || scanner.loading()) return std::nullopt;
    if (content.groupCount() > 0) {
        return Emptiness{Symbol::funnel, ResultsView::tr("Nothing passes the filters")};
    }
    if (scanner.lastScanDate()) {
        return Emptiness{Symbol::checkCircleFill, ResultsView::tr("Nothing found")};
    }
    return Emptiness{Symbol::magnifier, ResultsView::tr("Not scanned yet")};
}

void perform(CellAction action, ContentView& content, const BundleGroup& group) {
    switch (action) {
        case CellAction::reveal: return content.reveal(group.root);
        case CellAction::inspect: return content.inspect(group);
        case CellAction::reinstall: return content.requestReinstall(group);
        case CellAction::copyPath: return content.copyPath(group.root, true);
    }
}

}  // namespace

ResultsView::ResultsView(ContentView& content, QWidget* parent)
    : QTableView(parent),
      content_(content),
      rows_(content),
      header_(new ResultsHeader(content, this)) {
    setObjectName(QStringLiteral("results"));
    setAccessibleName(tr("Results"));
    setHorizontalHeader(header_);
    header_->setFocusProxy(nullptr);  // The header can have the focus itself.
    setModel(&rows_);
    setSelectionModel(new RowSelection(content, rows_, this));
    setItemDelegate(new ResultsDelegate(content, buttons_, this));
    setSelectionBehavior(SelectRows);
    setSelectionMode(ExtendedSelection);
    setEditTriggers(NoEditTriggers);
    setTabKeyNavigation(false);
    setShowGrid(false);
    setWordWrap(false);
    setFrameShape(NoFrame);
    setCornerButtonEnabled(false);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollMode(ScrollPerPixel);
    viewport()->setMouseTracking(true);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &ResultsView::placePathSelection);
    connect(horizontalScrollBar(), &QScrollBar::valueChanged, this,
            &ResultsView::placePathSelection);
    connect(verticalScrollBar(), &QScrollBar::actionTriggered, this, [this] {
        if (place_) place_->keepsView = false;
    });
    layOutColumns();
    applyFontSize();
}

void ResultsView::layOutColumns() {
    header_->setSectionResizeMode(QHeaderView::Fixed);
    header_->setSectionResizeMode(itemColumn, QHeaderView::Interactive);
    connect(header_, &QHeaderView::sectionResized, this, [this](int column, int, int width) {
        if (column != itemColumn || fitting_) return;
        itemWidth_ = std::clamp(width, leastItemWidth, static_cast<int>(itemColumnMaximum));
        itemWidthChosen_ = true;
        fitLastColumns();
    });
}

/// The path column gets the remaining width. If that is too little, the item column shrinks to
/// avoid horizontal scrolling, unless the user has chosen its width.
void ResultsView::fitLastColumns() {
    if (std::exchange(fitting_, true)) return;
    const int room = viewport()->width() - fixedWidth();
    const int leastPath = scaled(leastPathWidth);
    const bool gives = !itemWidthChosen_ && room >= leastItemWidth + leastPath;
    const int item = gives ? std::min(room - leastPath, itemWidth_) : itemWidth_;
    header_->resizeSection(itemColumn, item);
    header_->resizeSection(pathColumn, std::max(leastPath, room - item));
    fitting_ = false;
    placePathSelection();
}

int ResultsView::scaled(double base) const {
    return static_cast<int>(std::lround(content_.columnWidth(base)));
}

int ResultsView::fixedWidth() const {
    int width = 0;
    for (int column = 0; column < itemColumn; ++column) width += header_->sectionSize(column);
    return width;
}

int ResultsView::roomyWidth() const {
    return fixedWidth() + itemWidth_ + scaled(roomyPathWidth) +
           style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, this);
}

void ResultsView::applyFontSize() {
    const auto font = contentFont(content_.tableFontSize());
    setFont(font);
    header_->setFont(QApplication::font());
    const int height = ResultsDelegate::rowHeight(font);
    verticalHeader()->setMinimumSectionSize(height);
    verticalHeader()->setDefaultSectionSize(height);
    verticalScrollBar()->setSingleStep(height);
    horizontalScrollBar()->setSingleStep(pixelsPerStep);
    for (int column = 0; column < itemColumn; ++column) {
        header_->resizeSection(column, scaled(columnTraits(static_cast<Column>(column)).baseWidth));
    }
    fitLastColumns();
}

void ResultsView::refresh(const Changes& changes) {
    const bool found = changes.has(ScannerField::groups);
    if (changes.has(ContentField::fontDelta)) applyFontSize();
    if (found || changes.hasAny(ContentField::sortOrder, ContentField::categoryFilter,
                                ContentField::fixFilter)) {
        applyRows(found);
    }
    if (place_) returnToPlace();
    const auto emptiness = emptinessOf(content_, rows_.rowCount());
    // Qt reports a change of the description to assistive technology.
    setAccessibleDescription(emptiness ? emptiness->words : QString());
    if (changes.has(ContentField::sortOrder)) header_->refreshSort();
    if (changes.has(ContentField::selection)) {
        QAccessibleEvent event(this, QAccessible::SelectionWithin);
        QAccessible::updateAccessibility(&event);
    }
    viewport()->update();
}

void ResultsView::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QAbstractItemView::currentChanged(current, previous);
    if (!placing_) place_.reset();
    notifyFocus();
}

void ResultsView::focusInEvent(QFocusEvent* event) {
    QTableView::focusInEvent(event);
    // Qt reports the whole table as focused first, and the last report counts.
    QMetaObject::invokeMethod(this, &ResultsView::notifyFocus, Qt::QueuedConnection);
}

/// Reports the current cell by its number in `AccessibleTable`, where the headers come first.
void ResultsView::notifyFocus() {
    const auto current = currentIndex();
    if (!current.isValid() || !hasFocus()) return;
    QAccessibleEvent event(this, QAccessible::Focus);
    event.setChild((current.row() + 1) * rows_.columnCount() + current.column());
    QAccessible::updateAccessibility(&event);
}

void ResultsView::applyRows(bool keepView) {
    auto before = placeNow();
    const auto kept = keepView ? before.view : std::nullopt;
    placing_ = true;
    const bool changed = rows_.refresh();
    placing_ = false;
    if (!changed) return;
    const bool isLost = before.row < 0 ? rows_.rowCount() == 0 : !rows_.rowOf(before.root);
    if (isLost && !place_) place_ = std::move(before);
    const bool waits = place_ && place_->keepsView;  // The rows that were in view may still come.
    if (kept && !waits) restore(*kept);
    setHovered(buttonAt(viewport()->mapFromGlobal(QCursor::pos())));
    placePathSelection();
}

ResultsView::Place ResultsView::placeNow() const {
    const auto current = currentIndex();
    Place place;
    place.scrolledBy = verticalScrollBar()->value();
    place.view = anchor();
    if (!current.isValid()) return place;
    place.root = rows_.group(current.row()).root;
    place.row = current.row();
    place.column = current.column();
    return place;
}

/// Moves the current cell and the view back as far as their rows have arrived. Until the scan ends,
/// the current cell is on the nearest row.
void ResultsView::returnToPlace() {
    if (rows_.rowCount() == 0) return;
    auto& place = *place_;
    const bool isLastChance = !content_.scanner().walking();
    if (place.row >= 0 && !place.isBack) {
        const auto row = rows_.rowOf(place.root);
        place.isBack = row.has_value();
        const bool moves = row || isLastChance || !currentIndex().isValid();
        if (moves) moveCurrentTo(row.value_or(place.row), place.column);
    }
    if (place.keepsView && place.view && !restore(*place.view) && isLastChance) {
        verticalScrollBar()->setValue(place.scrolledBy);
    }
    if (isLastChance) place_.reset();
}

/// Moves to the last row if there are fewer. The view does not scroll.
void ResultsView::moveCurrentTo(int row, int column) {
    const auto next = rows_.index(std::min(row, rows_.rowCount() - 1), column);
    placing_ = true;
    setAutoScroll(false);
    selectionModel()->setCurrentIndex(next, QItemSelectionModel::NoUpdate);
    setAutoScroll(true);
    placing_ = false;
}

/// Returns the current row if it is in view, else the uppermost row. Absent at the very top, so
/// that the user sees new rows arrive.
std::optional<ResultsView::Anchor> ResultsView::anchor() const {
    const auto inView = [this](int row) {
        const int y = rowViewportPosition(row);
        return y > -rowHeight(row) && y < viewport()->height();
    };
    int row = currentIndex().isValid() ? currentIndex().row() : -1;
    if (row < 0 || !inView(row)) {
        if (verticalScrollBar()->value() == 0) return std::nullopt;
        row = rowAt(0);
    }
    if (row < 0) return std::nullopt;
    return Anchor{rows_.group(row).root, rowViewportPosition(row)};
}

bool ResultsView::restore(const Anchor& anchor) {
    const auto row = rows_.rowOf(anchor.root);
    if (!row) return false;
    executeDelayedItemsLayout();
    auto& bar = *verticalScrollBar();
    bar.setValue(bar.value() + rowViewportPosition(*row) - anchor.y);
    return true;
}

bool ResultsView::isSelected(int row) const {
    return content_.selection().contains(rows_.group(row).root);
}

CellLayout ResultsView::layoutOf(const QModelIndex& index) const {
    const auto area = ResultsDelegate::area(visualRect(index), index.column(), *this);
    return ResultsDelegate::layout(rows_.cell(index), area, font());
}

QModelIndex ResultsView::buttonAt(const QPoint& position) const {
    const auto index = indexAt(position);
    return index.isValid() && layoutOf(index).button.contains(position) ? index : QModelIndex();
}

QModelIndex ResultsView::pathTextAt(const QPoint& position) const {
    const auto index = indexAt(position);
    const bool onText =
        index.isValid() && index.column() == pathColumn && layoutOf(index).text.contains(position);
    return onText ? index : QModelIndex();
}

void ResultsView::setHovered(const QModelIndex& index) {
    if (buttons_.hovered == index) return;
    update(buttons_.hovered);
    buttons_.hovered = index;
    update(index);
}

bool ResultsView::press(const QModelIndex& index) {
    if (!index.isValid()) return false;
    const auto symbol = rows_.cell(index).symbol;
    if (!symbol || !symbol->action) return false;
    perform(*symbol->action, content_, rows_.group(index.row()));
    return true;
}

bool ResultsView::viewportEvent(QEvent* event) {
    if (event->type() == QEvent::Leave) setHovered({});
    if (event->type() == QEvent::HoverMove || event->type() == QEvent::MouseMove) {
        setHovered(buttonAt(viewport()->mapFromGlobal(QCursor::pos())));
    }
    return QTableView::viewportEvent(event);
}

void ResultsView::initViewItemOption(QStyleOptionViewItem* option) const {
    QTableView::initViewItemOption(option);
    option->state.setFlag(QStyle::State_Active, isActiveWindow());
}

PathSelection& ResultsView::selectPath(int row, int character) {
    const auto& root = rows_.group(row).root;
    scrollTo(rows_.index(row, pathColumn));
    delete pathSelection_;
    pathSelection_ = new PathSelection(root, font(), viewport());
    placePathSelection();
    pathSelection_->show();
    pathSelection_->setFocus();
    pathSelection_->selectFrom(character);
    return *pathSelection_;
}

void ResultsView::placePathSelection() {
    if (!pathSelection_) return;
    const auto row = rows_.rowOf(pathSelection_->root());
    if (!row) return pathSelection_->deleteLater();
    const auto cell = rows_.index(*row, pathColumn);
    const auto area = visualRect(cell);
    const auto text = layoutOf(cell).text.toAlignedRect();
    pathSelection_->setGeometry(text.left(), area.top(), text.width(), area.height());
}

void ResultsView::resizeEvent(QResizeEvent* event) {
    QTableView::resizeEvent(event);
    fitLastColumns();
}

void ResultsView::paintEvent(QPaintEvent* event) {
    QTableView::paintEvent(event);
    const auto emptiness = emptinessOf(content_, rows_.rowCount());
    if (!emptiness) return;
    QRect area(0, 0, emptySymbolSize, emptySymbolSize);
    area.moveCenter(viewport()->rect().center());
    QPainter painter(viewport());
    drawSymbol(painter, area, emptiness->symbol, colorOf(Tint::tertiary, palette()));
}

/// Qt moves what is already drawn when the view scrolls sideways. But paths are shortened at the
/// right edge of the view and selected rows have a stripe at its left edge, so all is drawn again.
void ResultsView::scrollContentsBy(int dx, int dy) {
    QTableView::scrollContentsBy(dx, dy);
    if (dx != 0) viewport()->update();
}

void ResultsView::updateGeometries() {
    QTableView::updateGeometries();
    fitLastColumns();
}

}  // namespace vestigo
