// Gathers changes and has the widgets redrawn for all of them at once.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <bitset>
#include <cstddef>

#include "engine/scanner.h"
#include "ui/model/content_view.h"
#include "ui/widgets/refresher.h"

namespace vestigo {

class Changes {
public:
    [[nodiscard]] static Changes everything() {
        Changes all;
        all.content_.set();
        all.scanner_.set();
        return all;
    }
    void add(ContentField field) { content_.set(static_cast<std::size_t>(field)); }
    void add(ScannerField field) { scanner_.set(static_cast<std::size_t>(field)); }
    [[nodiscard]] bool has(ContentField field) const {
        return content_.test(static_cast<std::size_t>(field));
    }
    [[nodiscard]] bool has(ScannerField field) const {
        return scanner_.test(static_cast<std::size_t>(field));
    }
    /// Whether any of the fields is among the changes.
    template <class... Fields>
    [[nodiscard]] bool hasAny(Fields... fields) const {
        return (has(fields) || ...);
    }

private:
    std::bitset<32> content_;
    std::bitset<32> scanner_;
};

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
