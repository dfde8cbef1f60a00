// Collects the changes of a window's model and reports them to the widgets together.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <bitset>
#include <cstddef>

#include "engine/scanner.h"
#include "ui/model/content_view.h"

namespace vestigo {

/// A set of changed fields.
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
    /// True if at least one of the fields has changed.
    template <class... Fields>
    [[nodiscard]] bool hasAny(Fields... fields) const {
        return (has(fields) || ...);
    }

private:
    std::bitset<32> content_;
    std::bitset<32> scanner_;
};

/// Each window has one. Changes by the user are reported in the next turn of the event loop.
/// Changes by a running scan or signature pass are reported at most five times a second, so that
/// redraws do not keep the window busy.
class Refresher : public QObject {
    Q_OBJECT
public:
    /// `content` must outlive this object.
    explicit Refresher(ContentView& content, QObject* parent = nullptr);

    /// Reports at once what has changed since the last report.
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
