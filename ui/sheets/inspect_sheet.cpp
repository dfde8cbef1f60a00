// The list is one text document, so that the user can select and copy across several binaries. Each
// binary is a paragraph with a hanging indent: its architectures, a tab, its path. Architectures
// that do not fit before the tab continue in paragraphs of their own below.
#include "ui/sheets/inspect_sheet.h"

#include <QApplication>
#include <QEvent>
#include <QScreen>
#include <QScrollBar>
#include <QTextBlockFormat>
#include <QTextCursor>
#include <algorithm>
#include <utility>

#include "ui/widgets/text.h"
#include "ui/widgets/theme.h"

namespace vestigo {
namespace {

constexpr int wholeWidth = 1280;
constexpr int roomBesideSheet = 40;
constexpr int listHeight = 340;
constexpr int rowSpacing = 5;
constexpr int archCell = 160;
constexpr int pathColumn = 170;  ///< Where the paths begin, after the first column and a gap.
constexpr double groundShare = 0.04;
constexpr int largeButton = 32;

int widthOn(const QScreen& screen) {
    return std::min(wholeWidth, screen.availableSize().width() - roomBesideSheet);
}

/// A hanging indent: the path begins at the second column, and so do its further lines.
QTextBlockFormat rowFormat() {
    QTextBlockFormat format;
    format.setLeftMargin(pathColumn);
    format.setTextIndent(-pathColumn);
    format.setTopMargin(rowSpacing);
    format.setTabPositions({QTextOption::Tab(pathColumn, QTextOption::LeftTab)});
    return format;
}

/// Breaks the architectures after commas into lines that fit their column.
QStringList archLines(const QString& text, const QFontMetrics& metrics) {
    QStringList lines;
    for (const auto& arch : text.split(QStringLiteral(", "))) {
        const auto longer = lines.isEmpty() ? arch : lines.last() + QStringLiteral(", ") + arch;
        if (!lines.isEmpty() && metrics.horizontalAdvance(longer + QLatin1Char(',')) <= archCell) {
            lines.last() = longer;
        } else {
            if (!lines.isEmpty()) lines.last() += QLatin1Char(',');
            lines << arch;
        }
    }
    return lines;
}

}  // namespace

InspectSheet::InspectSheet(ContentView& content, QWidget* window)
    : Sheet(window, {.padding = 24, .spacing = 12, .width = widthOn(*window->screen())},
            [&content] { content.closeInspect(); }),
      content_(content),
      title_(addText({}, contentFont(23))),
      summary_(addText({}, contentFont(15), Tint::secondary)),
      list_(*new QTextEdit(this)) {
    setObjectName(QStringLiteral("inspect"));
    addList();
    addButtons();
    show(inspectBundle(content.scanner().allHits(), *content.inspectGroup()));
}

void InspectSheet::addList() {
    list_.setObjectName(QStringLiteral("binaries"));
    list_.setAccessibleName(tr("Binaries"));
    list_.setReadOnly(true);
    list_.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    list_.setUndoRedoEnabled(false);
    list_.setFrameShape(QFrame::NoFrame);
    list_.setFixedSize(innerWidth(), listHeight);
    list_.setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    list_.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    list_.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_.setFont(contentFont(15));
    column().addWidget(&list_);
}

void InspectSheet::addButtons() {
    auto& row = addRow();
    auto& reveal = addButton(row, "reveal", tr("Reveal in Finder"), [this] {
        if (const auto& group = content_.inspectGroup()) content_.reveal(group->root);
    });
    row.addStretch();
    auto& close = addButton(row, "close", tr("Close"), [this] { content_.closeInspect(); });
    for (auto* const button : {&reveal, &close}) button->setMinimumHeight(largeButton);
    makeDefault(close);
}

void InspectSheet::refresh(const Changes& changes) {
    if (!content_.inspectGroup()) return;
    if (!changes.hasAny(ContentField::inspectGroup) && !changes.has(ScannerField::allHits)) return;
    auto bundle = inspectBundle(content_.scanner().allHits(), *content_.inspectGroup());
    // The hits also change when other groups grow; filling the list again would lose the selection.
    if (bundle != bundle_) show(std::move(bundle));
}

void InspectSheet::changeEvent(QEvent* event) {
    Sheet::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) fillList();
}

void InspectSheet::show(InspectedBundle bundle) {
    bundle_ = std::move(bundle);
    setWindowTitle(plainTitle(toQString(bundle_.title)));
    title_.setText(toQString(bundle_.title));
    summary_.setText(toQString(bundle_.summary));
    fillList();
}

void InspectSheet::fillList() {
    const auto palette = QApplication::palette();
    list_.setPalette(tintedGround(palette, groundShare));
    const int scrolled = list_.verticalScrollBar()->value();
    QTextCharFormat path;
    path.setForeground(palette.color(QPalette::Text));
    list_.clear();
    QTextCursor cursor(list_.document());
    cursor.beginEditBlock();
    cursor.setBlockFormat(rowFormat());
    bool first = true;
    for (const auto& binary : bundle_.binaries) {
        if (!std::exchange(first, false)) cursor.insertBlock(rowFormat());
        QTextCharFormat archs;
        archs.setForeground(colorOf(binary.legacy ? Tint::red : Tint::secondary, palette));
        const auto lines = archLines(toQString(binary.archText), list_.fontMetrics());
        cursor.insertText(lines.first() + QLatin1Char('\t'), archs);
        cursor.insertText(toQString(binary.shownPath), path);
        for (qsizetype line = 1; line < lines.size(); ++line) {
            cursor.insertBlock(QTextBlockFormat());
            cursor.insertText(lines[line], archs);
        }
    }
    cursor.endEditBlock();
    list_.moveCursor(QTextCursor::Start);
    list_.verticalScrollBar()->setValue(scrolled);
}

}  // namespace vestigo
