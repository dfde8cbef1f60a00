#include "ui/stray_input.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QStyleHints>
#include <algorithm>
#include <utility>

namespace vestigo {
namespace {

bool isReturn(const QKeyEvent& event) {
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

}  // namespace

void StrayInputFilter::install() {
    static QPointer<StrayInputFilter> installed;
    if (installed) return;
    installed = new StrayInputFilter(qApp);
    qApp->installEventFilter(installed);
}

bool StrayInputFilter::eventFilter(QObject* receiver, QEvent* event) {
    if (!receiver->isWidgetType()) return false;
    auto& widget = static_cast<QWidget&>(*receiver);
    switch (event->type()) {
        case QEvent::Show: noteAppearance(widget); return false;
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
            return dropsPress(widget, static_cast<const QMouseEvent&>(*event));
        // A widget that did not get the press must not get its moves and release either.
        case QEvent::MouseMove: return dropping_;
        case QEvent::MouseButtonRelease: return std::exchange(dropping_, false);
        case QEvent::KeyPress: {
            const auto& key = static_cast<const QKeyEvent&>(*event);
            if (isReturn(key) && key.isAutoRepeat()) return true;
            const bool presses = isReturn(key) || key.key() == Qt::Key_Space;
            return presses && qobject_cast<QAbstractButton*>(&widget) && hasJustAppeared(widget);
        }
        default: return false;
    }
}

/// Forgets earlier appearances whose time is over, so that the list stays short.
void StrayInputFilter::noteAppearance(QWidget& widget) {
    if (!qobject_cast<QAbstractButton*>(&widget) && !qobject_cast<QDialog*>(&widget)) return;
    std::erase_if(appearances_,
                  [](const Appearance& earlier) { return earlier.settled.hasExpired(); });
    appearances_.push_back({&widget, QDeadlineTimer(QApplication::doubleClickInterval())});
}

bool StrayInputFilter::hasJustAppeared(const QWidget& widget) const {
    return std::ranges::any_of(appearances_, [&widget](const Appearance& each) {
        const bool isPart =
            each.widget && (each.widget == &widget || each.widget->isAncestorOf(&widget));
        return isPart && !each.settled.hasExpired();
    });
}

bool StrayInputFilter::dropsPress(QWidget& receiver, const QMouseEvent& press) {
    // Qt offers a press that a widget ignores to its parents; all of them get the same answer.
    const bool isSamePress = press.timestamp() == lastTime_ && press.globalPosition() == lastPlace_;
    if (isSamePress) return dropping_;
    // Menus and lists of choices open under the pointer and guard against such presses themselves.
    const bool isPopup = receiver.window()->windowType() == Qt::Popup;
    dropping_ = !isPopup && press.button() == Qt::LeftButton &&
                (hasJustAppeared(receiver) || endsDoubleClickElsewhere(receiver, press));
    if (!dropping_) lastReceiver_ = &receiver;
    lastPlace_ = press.globalPosition();
    lastTime_ = press.timestamp();
    return dropping_;
}

bool StrayInputFilter::endsDoubleClickElsewhere(const QWidget& receiver,
                                                const QMouseEvent& press) const {
    const auto interval = static_cast<quint64>(QApplication::doubleClickInterval());
    const bool isSecond = lastTime_ != 0 && press.timestamp() - lastTime_ < interval;
    const auto distance = (press.globalPosition() - lastPlace_).manhattanLength();
    return isSecond && distance <= QGuiApplication::styleHints()->mouseDoubleClickDistance() &&
           lastReceiver_ != &receiver;
}

}  // namespace vestigo
