// Keeps presses away from what the user did not mean.
#pragma once

#include <QDeadlineTimer>
#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QWidget>
#include <vector>

class QMouseEvent;

namespace vestigo {

/// Watches the whole program and drops, for one double-click interval, presses
/// - on a button or dialog that has only just appeared: whoever presses there aimed at what was in
///   its place before, as where "Stop" replaces "Scan";
/// - that are the second click of a double-click whose first click went to another widget.
/// A Return that is held down counts as one press, so it cannot confirm the sheet that it opened.
class StrayInputFilter : public QObject {
    Q_OBJECT
public:
    /// Main thread. Does nothing from the second call on; the application owns the filter.
    static void install();

    bool eventFilter(QObject* receiver, QEvent* event) override;

private:
    struct Appearance {
        QPointer<QWidget> widget;
        QDeadlineTimer settled;  ///< From then on, presses are meant for it.
    };

    using QObject::QObject;
    void noteAppearance(QWidget& widget);
    /// Whether the widget, or a dialog that it is part of, has only just appeared.
    [[nodiscard]] bool hasJustAppeared(const QWidget& widget) const;
    bool dropsPress(QWidget& receiver, const QMouseEvent& press);
    [[nodiscard]] bool endsDoubleClickElsewhere(const QWidget& receiver,
                                                const QMouseEvent& press) const;

    std::vector<Appearance> appearances_;
    QPointer<QWidget> lastReceiver_;
    QPointF lastPlace_;
    quint64 lastTime_ = 0;   ///< As events tell it, in milliseconds; 0: nothing was pressed yet.
    bool dropping_ = false;  ///< Up to the release of the button.
};

}  // namespace vestigo
