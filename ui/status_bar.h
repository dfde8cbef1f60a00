// The line at the bottom of a window.
#pragma once

#include <QElapsedTimer>
#include <QWidget>

#include "platform/desktop.h"
#include "ui/model/content_view.h"
#include "ui/widgets/labels.h"
#include "ui/widgets/refresher.h"
#include "ui/widgets/spinner.h"

namespace vestigo {

/// Says how far a running scan is, else what the last one found, and why nothing can be removed
/// when the user asked for that; to a screen reader too, which also hears when a scan begins, now
/// and then while it runs, and when it ends. Its texts never make the window
/// wider.
class StatusBar : public QWidget {
    Q_OBJECT
public:
    /// Both must outlive this object.
    StatusBar(ContentView& content, Desktop& desktop, QWidget* parent = nullptr);

    void refresh(const Changes& changes);

private:
    void refreshShape();
    void refreshProgress();
    void refreshSummary();
    void refreshHint();
    void announceScan(const Changes& changes);

    ContentView& content_;
    Desktop& desktop_;
    Spinner& spinner_;
    TintedLabel& scannedCount_;
    TintedLabel& currentPath_;
    TintedLabel& summary_;
    TintedLabel& lastScan_;
    TintedLabel& hint_;
    bool followsScans_ = false;  ///< From the first refresh on, which is of no scan.
    QElapsedTimer sinceAnnouncement_;
};

}  // namespace vestigo
