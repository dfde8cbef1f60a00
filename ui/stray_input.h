// Drops mouse and key presses that the user meant for another widget.
#pragma once

#include <QDeadlineTimer>
#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QWidget>
#include <vector>

class QMouseEvent;

namespace vestigo {

/// Filters the events of the whole program. It drops a press
/// - on a button or dialog that appeared less than a double-click interval ago, as the user aimed
///   at what was in its place before ("Stop" replaces "Scan");
/// - that is the second click of a double-click whose first click went to another widget.
/// A Return that is held down counts as one press, so it cannot confirm the sheet that it opened.
class StrayInputFilter : public QObject {
    Q_OBJECT
public:
    /// Installs the filter on the application, which owns it. Further calls do nothing. Main thread
    /// only.
    static void install();

    bool eventFilter(QObject* receiver, QEvent* event) override;

private:
    struct Appearance {
        QPointer<QWidget> widget;
        QDeadlineTimer settled;  ///< When it expires, presses count again.
    };

    using QObject::QObject;
    void noteAppearance(QWidget& widget);
    /// True if the widget, or a dialog that it is part of, appeared less than an interval ago.
    [[nodiscard]] bool hasJustAppeared(const QWidget& widget) const;
    bool dropsPress(QWidget& receiver, const QMouseEvent& press);
    [[nodiscard]] bool endsDoubleClickElsewhere(const QWidget& receiver,
                                                const QMouseEvent& press) const;

    std::vector<Appearance> appearances_;
    QPointer<QWidget> lastReceiver_;
    QPointF lastPlace_;
    quint64 lastTime_ = 0;   ///< Event time in milliseconds; 0 before the first press.
    bool dropping_ = false;  ///< True from a dropped press to its release.
};

}  // namespace vestigo
