// The status bar at the bottom of a window.
#pragma once

#include <QElapsedTimer>
#include <QWidget>

#include "platform/desktop.h"
#include "ui/model/content_view.h"
#include "ui/widgets/labels.h"
#include "ui/widgets/refresher.h"
#include "ui/widgets/spinner.h"

namespace vestigo {

/// Shows the progress of a running scan, or else the result of the last one, and the hint why
/// nothing can be removed. A screen reader is told the same: the hint, the begin and end of a scan,
/// and its progress every ten seconds. The texts never make the window wider.
class StatusBar : public QWidget {
    Q_OBJECT
public:
    /// `content` and `desktop` must outlive this object. `desktop` speaks to screen readers.
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
    bool followsScans_ = false;  ///< False until the first refresh, which reports no scan.
    QElapsedTimer sinceAnnouncement_;
};

}  // namespace vestigo
