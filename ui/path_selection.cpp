#include "ui/path_selection.h"

#include <QKeyEvent>
#include <utility>

#include "ui/text.h"

namespace vestigo {

PathSelection::PathSelection(std::string root, const QFont& font, QWidget* parent)
    : QLineEdit(parent), root_(std::move(root)) {
    setObjectName(QStringLiteral("pathSelection"));
    setAccessibleName(tr("Path"));
    setReadOnly(true);
    setFrame(false);
    setFont(font);
    setTextMargins(-2, 0, 0, 0);  // Its text begins where the cell's did.
    setText(shown(root_));
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
    // Its own menu, or another program, takes the focus only for a while.
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
    // Behind the ellipsis, counted from the end.
    const auto gap = elided == oneLine(text) ? text.size() : elided.indexOf(QChar(0x2026));
    return static_cast<int>(place <= gap ? place : text.size() - (elided.size() - place));
}

}  // namespace vestigo
