// `layout` alone decides where symbol, button and text of a cell are. Drawing, the mouse, tooltips
// and assistive technology all ask it, so they cannot disagree.
#include "ui/table/results_delegate.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QToolTip>
#include <algorithm>
#include <cmath>
#include <utility>

#include "ui/table/results_model.h"
#include "ui/widgets/symbols.h"
#include "ui/widgets/text.h"
#include "ui/widgets/theme.h"

namespace vestigo {

PathSelection::PathSelection(std::string root, const QFont& font, QWidget* parent)
    : QLineEdit(parent), root_(std::move(root)) {
    setObjectName(QStringLiteral("pathSelection"));
    setAccessibleName(tr("Path"));
    setReadOnly(true);
    setFrame(false);
    setFont(font);
    setTextMargins(-2, 0, 0, 0);  // The editor's text then begins where the cell's text does.
    setText(toQString(root_));
}

void PathSelection::selectFrom(int character) {
    anchor_ = character;
    setCursorPosition(character);
}

void PathSelection::extendTo(int x) {
    const int reached = cursorPositionAt(QPoint(x, height() / 2));
    setSelection(anchor_, reached - anchor_);
}

void PathSelection::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        parentWidget()->setFocus();
        return;
    }
    QLineEdit::keyPressEvent(event);
}

void PathSelection::focusOutEvent(QFocusEvent* event) {
    QLineEdit::focusOutEvent(event);
    // The focus comes back from the editor's own context menu and from another program.
    if (event->reason() == Qt::PopupFocusReason || event->reason() == Qt::ActiveWindowFocusReason) {
        return;
    }
    hide();
    deleteLater();
}

int characterAt(const QString& text, const QFont& font, double width, double x) {
    const QFontMetricsF metrics(font);
    const auto elided = metrics.elidedText(oneLine(text), Qt::ElideMiddle, width);
    qsizetype place = 0;
    while (place < elided.size() &&
           metrics.horizontalAdvance(elided, static_cast<int>(place) + 1) <= x) {
        ++place;
    }
    // Up to the ellipsis characters are counted from the start, behind it from the end.
    const auto gap = elided == oneLine(text) ? text.size() : elided.indexOf(QChar(0x2026));
    return static_cast<int>(place <= gap ? place : text.size() - (elided.size() - place));
}

namespace {

constexpr int rowPadding = 4;
constexpr double buttonMargin = 3;
constexpr double cornerRadius = 4;
constexpr int edgeWidth = 3;

const ResultsModel& modelOf(const QModelIndex& index) {
    return *static_cast<const ResultsModel*>(index.model());
}

double symbolSide(const QFont& font) {
    return font.pixelSize() + 2;
}

const QAbstractItemView& viewOf(const QStyleOptionViewItem& option) {
    return *static_cast<const QAbstractItemView*>(option.widget);
}

/// Shortens the text as a cell of this column does.
QString elided(const QString& text, const QFont& font, int column, double width) {
    return QFontMetricsF(font).elidedText(text, ResultsDelegate::elision(column), width);
}

/// Draws every digit as wide as the widest one, also in fonts without digits of equal width.
void drawWithFixedDigits(QPainter& painter, const QRectF& area, const QString& text) {
    const QFontMetricsF metrics(painter.font());
    double digitWidth = 0;
    for (char digit = '0'; digit <= '9'; ++digit) {
        digitWidth = std::max(digitWidth, metrics.horizontalAdvance(QLatin1Char(digit)));
    }
    double x = area.left();
    for (const auto character : text) {
        const double own = metrics.horizontalAdvance(character);
        const double width = character.isDigit() ? digitWidth : own;
        painter.drawText(QRectF(x + (width - own) / 2, area.top(), own + 1, area.height()),
                         Qt::AlignLeft | Qt::AlignVCenter | Qt::TextDontClip, character);
        x += width;
    }
}

}  // namespace

ResultsDelegate::ResultsDelegate(const ContentView& content, const ButtonStates& buttons,
                                 QObject* parent)
    : QStyledItemDelegate(parent), content_(content), buttons_(buttons) {}

int ResultsDelegate::rowHeight(const QFont& font) {
    return QFontMetrics(font).height() + 2 * rowPadding;
}

Qt::TextElideMode ResultsDelegate::elision(int column) {
    return static_cast<Column>(column) == Column::path ? Qt::ElideMiddle : Qt::ElideRight;
}

QRect ResultsDelegate::area(const QRect& whole, int column, const QAbstractItemView& view) {
    if (static_cast<Column>(column) != Column::path) return whole;
    return {whole.topLeft(),
            QPoint(std::min(whole.right(), view.viewport()->width() - 1), whole.bottom())};
}

CellLayout ResultsDelegate::layout(const CellContent& cell, const QRect& area, const QFont& font) {
    const auto inner = QRectF(area).adjusted(cellPadding, 0, -cellPadding, 0);
    CellLayout parts;
    parts.text = inner;
    if (!cell.symbol) return parts;
    const auto side = symbolSide(font);
    parts.symbol = QRectF(0, 0, side, side);
    parts.symbol.moveCenter(inner.center());
    if (!cell.text.empty()) {
        const auto width = QFontMetricsF(font).horizontalAdvance(oneLine(toQString(cell.text)));
        const auto room = inner.width() - side - cell.spacing;
        if (cell.symbolFirst) {
            parts.symbol.moveLeft(inner.left());
            parts.text.setLeft(parts.symbol.right() + cell.spacing);
        } else {
            parts.text.setWidth(std::min(std::ceil(width), room));
            parts.symbol.moveLeft(parts.text.right() + cell.spacing);
        }
    } else {
        parts.text = {};
    }
    if (cell.symbol->action) {
        parts.button =
            parts.symbol.adjusted(-buttonMargin, -buttonMargin, buttonMargin, buttonMargin);
    }
    return parts;
}

void ResultsDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const {
    const auto cell = modelOf(index).cell(index);
    const auto parts = layout(cell, area(option.rect, index.column(), viewOf(option)), option.font);
    paintGround(*painter, option, index);
    if (!parts.button.isEmpty()) paintButtonGround(*painter, option, index, parts.button);
    if (cell.symbol) {
        drawSymbol(*painter, parts.symbol, cell.symbol->symbol,
                   colorOf(cell.symbol->tint, option.palette));
    }
    const auto text =
        elided(oneLine(toQString(cell.text)), option.font, index.column(), parts.text.width());
    painter->setFont(option.font);
    painter->setPen(colorOf(cell.tint, option.palette));
    if (cell.fixedDigits) return drawWithFixedDigits(*painter, parts.text, text);
    painter->drawText(parts.text, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text);
}

void ResultsDelegate::paintGround(QPainter& painter, const QStyleOptionViewItem& option,
                                  const QModelIndex& index) const {
    if (content_.selection().contains(modelOf(index).group(index.row()).root)) {
        const bool active = option.state.testFlag(QStyle::State_Active);
        painter.fillRect(option.rect, selectedGround(option.palette, active));
        // The stripe marks the left edge of the view, not of the first column, so it stays in
        // sight when the columns are scrolled.
        if (option.rect.left() <= 0 && option.rect.right() > 0) {
            painter.fillRect(
                0, option.rect.top(), edgeWidth, option.rect.height(),
                active ? markColor(option.palette) : colorOf(Tint::tertiary, option.palette));
        }
    }
    if (!option.state.testFlag(QStyle::State_HasFocus)) return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(markColor(option.palette), 1.5));
    painter.drawRoundedRect(QRectF(option.rect).adjusted(1.5, 1.5, -1.5, -1.5), cornerRadius,
                            cornerRadius);
    painter.restore();
}

void ResultsDelegate::paintButtonGround(QPainter& painter, const QStyleOptionViewItem& option,
                                        const QModelIndex& index, const QRectF& button) const {
    const bool pressed = buttons_.pressed == index;
    const bool hovered = buttons_.hovered == index;
    const bool reached = option.state.testFlag(QStyle::State_HasFocus);
    if (!pressed && !hovered && !reached) return;
    auto ground = option.palette.color(QPalette::Text);
    ground.setAlphaF(pressed ? 0.24F : 0.12F);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    painter.drawRoundedRect(button, cornerRadius, cornerRadius);
    painter.restore();
}

QSize ResultsDelegate::sizeHint(const QStyleOptionViewItem& option,
                                const QModelIndex& index) const {
    const auto cell = modelOf(index).cell(index);
    const auto text = QFontMetricsF(option.font).horizontalAdvance(oneLine(toQString(cell.text)));
    const auto symbol = cell.symbol ? symbolSide(option.font) + cell.spacing : 0;
    return {static_cast<int>(std::ceil(text + symbol + 2 * cellPadding)), rowHeight(option.font)};
}

bool ResultsDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                const QStyleOptionViewItem& option, const QModelIndex& index) {
    if (event->type() != QEvent::ToolTip || !index.isValid()) {
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    }
    const auto cell = modelOf(index).cell(index);
    const auto parts = layout(cell, area(option.rect, index.column(), *view), option.font);
    const auto symbolArea = parts.button.united(parts.symbol);
    const bool onSymbol = cell.symbol && symbolArea.contains(event->pos());
    auto help = toQString(onSymbol ? cell.symbol->help : std::string_view(cell.help));
    if (help.isEmpty()) {
        const auto text = oneLine(toQString(cell.text));
        const bool whole = elided(text, option.font, index.column(), parts.text.width()) == text;
        if (!whole) help = toQString(cell.text);
    }
    const auto reach = onSymbol ? symbolArea.toAlignedRect() : option.rect;
    QToolTip::showText(event->globalPos(), plainToolTip(help), view->viewport(), reach);
    return true;
}

}  // namespace vestigo
