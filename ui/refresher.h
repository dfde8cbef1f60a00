// Gathers changes and has the widgets redrawn for all of them at once.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include "ui/changes.h"
#include "ui/content_view.h"

namespace vestigo {

/// One a window. What the user does shows in the next turn of the event loop; what a running scan
/// or signature pass brings shows a few times a second, so that a redraw never keeps the window
/// busy.
class Refresher : public QObject {
    Q_OBJECT
public:
    /// `content` must outlive this object.
    explicit Refresher(ContentView& content, QObject* parent = nullptr);

    /// Redraws now for whatever has changed.
    void flush();

signals:
    void changed(const vestigo::Changes& changes);

private:
    void note(ContentField field);
    void note(ScannerField field);
    void flushWithin(int milliseconds);

    ContentView& content_;
    Changes changes_;
    QTimer timer_;
    QElapsedTimer sinceFlush_;
    Subscription contentSubscription_;
    Subscription scannerSubscription_;
};

}  // namespace vestigo
