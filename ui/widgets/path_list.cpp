// The list draws its lines itself, as no style draws a path that is shortened in the middle with
// coloured tags behind it. A check box shows what the window's model says: a click only emits
// `toggled`, and the box changes when the model has accepted that and `setLines` is called.
#include "ui/widgets/path_list.h"

#include <QAbstractListModel>
#include <QAccessible>
#include <QApplication>
#include <QEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyledItemDelegate>
#include <algorithm>
#include <utility>

#include "ui/widgets/labels.h"
#include "ui/widgets/text.h"
#include "ui/widgets/theme.h"

namespace vestigo {

class PathLines : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

    [[nodiscard]] const PathLine& line(const QModelIndex& index) const {
        return lines_[static_cast<std::size_t>(index.row())];
    }
    void setLines(std::vector<PathLine> lines) {
        if (lines == lines_) return;
        if (std::ranges::equal(lines, lines_, {}, &PathLine::path, &PathLine::path)) {
            // Without a reset, the view keeps its scroll position and current line.
            lines_ = std::move(lines);
            emit dataChanged(index(0), index(rowCount({}) - 1));
            return;
        }
        beginResetModel();
        lines_ = std::move(lines);
        endResetModel();
    }
    int rowCount(const QModelIndex& parent) const override {
        return parent.isValid() ? 0 : static_cast<int>(lines_.size());
    }
    QVariant data(const QModelIndex& index, int role) const override {
        const auto& shownLine = line(index);
        switch (role) {
            case Qt::DisplayRole: return toQString(shownLine.path);
            case Qt::ToolTipRole: return plainToolTip(toQString(shownLine.path));
            case Qt::AccessibleTextRole: return spoken(shownLine);
            case Qt::CheckStateRole:
                if (!shownLine.on) return {};
                return *shownLine.on ? Qt::Checked : Qt::Unchecked;
            default: return {};
        }
    }
    Qt::ItemFlags flags(const QModelIndex& index) const override {
        const auto usual = Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
        return line(index).on ? usual | Qt::ItemIsUserCheckable : usual;
    }

private:
    static QString spoken(const PathLine& line) {
        auto text = toQString(line.path);
        for (const auto& tag : line.tags) text += QStringLiteral(", ") + tag.text;
        return text;
    }

    std::vector<PathLine> lines_;
};

namespace {

constexpr double pathSize = 15;
constexpr double tagSize = 12;
constexpr int lineSpacing = 4;
constexpr int itemSpacing = 6;
constexpr double groundShare = 0.04;

const PathLine& lineAt(const QModelIndex& index) {
    return static_cast<const PathLines*>(index.model())->line(index);
}

class LineDelegate : public QStyledItemDelegate {
public:
    explicit LineDelegate(PathList& list) : QStyledItemDelegate(&list), list_(list) {}

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        const auto& line = lineAt(index);
        painter->save();
        painter->setClipRect(option.rect);
        auto room = option.rect.adjusted(itemSpacing, 0, -itemSpacing, 0);
        if (line.on) drawCheckbox(*painter, option, room, *line.on);
        drawPath(*painter, option, room, line);
        painter->restore();
        if (option.state.testFlag(QStyle::State_HasFocus)) drawFocus(*painter, option);
    }
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override {
        const int box = list_.style()->pixelMetric(QStyle::PM_IndicatorHeight, &option, &list_);
        return {1, std::max(QFontMetrics(contentFont(pathSize)).height(), box) + lineSpacing};
    }
    bool editorEvent(QEvent* event, QAbstractItemModel*, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override {
        if (!lineAt(index).on || !isChoice(*event, option)) return false;
        list_.toggle(index);
        return true;
    }

private:
    static bool isChoice(const QEvent& event, const QStyleOptionViewItem& option) {
        if (event.type() == QEvent::KeyPress) {
            return static_cast<const QKeyEvent&>(event).key() == Qt::Key_Space;
        }
        if (event.type() != QEvent::MouseButtonRelease) return false;
        const auto& mouse = static_cast<const QMouseEvent&>(event);
        return mouse.button() == Qt::LeftButton && option.rect.contains(mouse.position().toPoint());
    }
    static QColor borderColor(const QStyleOptionViewItem& option) {
        const bool reached = option.state & (QStyle::State_HasFocus | QStyle::State_MouseOver);
        return colorOf(reached ? Tint::primary : Tint::secondary, option.palette);
    }
    /// Draws at the start of `room` and removes what it used from it.
    void drawCheckbox(QPainter& painter, const QStyleOptionViewItem& option, QRect& room,
                      bool on) const {
        const auto& style = *list_.style();
        QStyleOptionButton box;
        box.palette = checkBoxPalette(QApplication::palette(), borderColor(option));
        box.state = QStyle::State_Enabled | (on ? QStyle::State_On : QStyle::State_Off);
        const QSize size(style.pixelMetric(QStyle::PM_IndicatorWidth, &option, &list_),
                         style.pixelMetric(QStyle::PM_IndicatorHeight, &option, &list_));
        box.rect =
            QStyle::alignedRect(option.direction, Qt::AlignLeading | Qt::AlignVCenter, size, room);
        style.drawPrimitive(QStyle::PE_IndicatorCheckBox, &box, &painter, &list_);
        room.adjust(size.width() + itemSpacing, 0, 0, 0);
    }
    /// The tags are shown whole; the path is shortened to the room that they leave.
    static void drawPath(QPainter& painter, const QStyleOptionViewItem& option, const QRect& room,
                         const PathLine& line) {
        const auto tagFont = contentFont(tagSize);
        const QFontMetrics tagMetrics(tagFont);
        int tagRoom = 0;
        for (const auto& tag : line.tags) {
            tagRoom += itemSpacing + tagMetrics.horizontalAdvance(tag.text);
        }
        const auto font = contentFont(pathSize);
        const QFontMetrics metrics(font);
        const auto path = metrics.elidedText(oneLine(toQString(line.path)), Qt::ElideMiddle,
                                             room.width() - tagRoom);
        constexpr int alignment = Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine;
        painter.setFont(font);
        painter.setPen(option.palette.color(QPalette::Text));
        painter.drawText(room, alignment, path);
        int x = room.left() + metrics.horizontalAdvance(path);
        painter.setFont(tagFont);
        for (const auto& tag : line.tags) {
            painter.setPen(colorOf(tag.tint, option.palette));
            x += itemSpacing;
            painter.drawText(QRect(x, room.top(), room.right() - x + 1, room.height()),
                             alignment | Qt::TextDontClip, tag.text);
            x += tagMetrics.horizontalAdvance(tag.text);
        }
    }
    void drawFocus(QPainter& painter, const QStyleOptionViewItem& option) const {
        QStyleOptionFocusRect focus;
        focus.QStyleOption::operator=(option);
        focus.backgroundColor = option.palette.color(QPalette::Base);
        list_.style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, &list_);
    }

    PathList& list_;
};

}  // namespace

PathList::PathList(const QSize& size, QWidget* parent)
    : QListView(parent), lines_(*new PathLines(this)) {
    setModel(&lines_);
    setItemDelegate(new LineDelegate(*this));
    setFixedSize(size);
    setFrameShape(QFrame::NoFrame);
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setUniformItemSizes(true);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setTabKeyNavigation(false);
    viewport()->setAttribute(Qt::WA_Hover);
    setPalette(tintedGround(QApplication::palette(), groundShare));
}

void PathList::setLines(std::vector<PathLine> lines) {
    lines_.setLines(std::move(lines));
}

void PathList::toggle(const QModelIndex& line) {
    const auto& chosen = lineAt(line);
    if (chosen.on) emit toggled(std::string(chosen.path), !*chosen.on);
}

/// Reports to assistive technology that the box of the current line may have changed.
void PathList::dataChanged(const QModelIndex& first, const QModelIndex& last,
                           const QList<int>& roles) {
    QListView::dataChanged(first, last, roles);
    QAccessible::State ticked;
    ticked.checked = true;
    QAccessibleStateChangeEvent event(this, ticked);
    event.setChild(currentIndex().row());
    if (currentIndex().isValid()) QAccessible::updateAccessibility(&event);
}

/// Qt reports the whole list as focused first; the later report of the current line counts.
void PathList::focusInEvent(QFocusEvent* event) {
    QListView::focusInEvent(event);
    const auto notifyLine = [this] {
        if (!hasFocus() || !currentIndex().isValid()) return;
        QAccessibleEvent focus(this, QAccessible::Focus);
        focus.setChild(currentIndex().row());
        QAccessible::updateAccessibility(&focus);
    };
    QMetaObject::invokeMethod(this, notifyLine, Qt::QueuedConnection);
}

void PathList::changeEvent(QEvent* event) {
    QListView::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        setPalette(tintedGround(QApplication::palette(), groundShare));
    }
}

}  // namespace vestigo
