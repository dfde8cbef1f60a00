// Appending a long text at once would keep the window from responding, so it is appended in
// portions, with a pause after each in which the window handles its other events. A portion may end
// within a UTF-8 character; the decoder keeps the beginning of it for the next portion. The log
// tells by a new generation that it was cleared, and the view then begins anew.
#include "ui/widgets/log_view.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
#include <QScrollBar>
#include <QTextCursor>
#include <algorithm>
#include <string>

#include "ui/widgets/labels.h"
#include "ui/widgets/text.h"
#include "ui/widgets/theme.h"

namespace vestigo {
namespace {

constexpr double textSize = 11;
constexpr double groundShare = 0.05;
/// Qt takes longer to append the longer the text is, so it is kept to this many lines.
constexpr int mostLines = 100000;
constexpr std::size_t bytesAtATime = 32 * 1024;
constexpr int pauseMilliseconds = 4;

}  // namespace

LogView::LogView(const UpdateLog& log, QWidget* parent) : QPlainTextEdit(parent), log_(log) {
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setUndoRedoEnabled(false);
    setMaximumBlockCount(mostLines);
    setFrameShape(QFrame::NoFrame);
    setFont(monospacedFont(textSize));
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setPalette(tintedGround(QApplication::palette(), groundShare));
    more_.setSingleShot(true);
    connect(&more_, &QTimer::timeout, this, &LogView::appendMore);
    refresh();
}

void LogView::refresh() {
    if (generation_ != log_.generation()) {
        generation_ = log_.generation();
        shownBytes_ = 0;
        decoder_.resetState();
        clear();
    }
    if (!more_.isActive()) appendMore();
}

void LogView::appendMore() {
    std::string bytes;
    log_.readFrom(shownBytes_, [&bytes](std::string_view piece) {
        bytes += piece.substr(0, bytesAtATime - std::min(bytesAtATime, bytes.size()));
    });
    if (bytes.empty()) return;
    shownBytes_ += bytes.size();
    append(decoder_.decode(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size()))));
    if (shownBytes_ < log_.size()) more_.start(pauseMilliseconds);
}

void LogView::append(const QString& text) {
    auto& bar = *verticalScrollBar();
    const bool follows = bar.value() == bar.maximum();
    QTextCursor end(document());
    end.movePosition(QTextCursor::End);
    end.insertText(text);
    if (follows) bar.setValue(bar.maximum());
}

void LogView::contextMenuEvent(QContextMenuEvent* event) {
    auto* const menu = createStandardContextMenu();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    auto* const copy = menu->addAction(tr("Copy Whole Log"));
    copy->setEnabled(!log_.empty());
    connect(copy, &QAction::triggered, this,
            [this] { QApplication::clipboard()->setText(toQString(log_.text())); });
    menu->popup(event->globalPos());
}

void LogView::changeEvent(QEvent* event) {
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        setPalette(tintedGround(QApplication::palette(), groundShare));
    }
}

}  // namespace vestigo
