// The line at the bottom of a window.
#pragma once

#include <QWidget>

#include "ui/model/content_view.h"
#include "ui/widgets/labels.h"
#include "ui/widgets/refresher.h"
#include "ui/widgets/spinner.h"

namespace vestigo {

/// Says how far a running scan is, else what the last one found, and why nothing can be removed
/// when the user asked for that. Its texts never make the window
/// wider.
class StatusBar : public QWidget {
    Q_OBJECT
public:
    /// `content` must outlive this object.
    explicit StatusBar(ContentView& content, QWidget* parent = nullptr);

    void refresh(const Changes& changes);

private:
    void refreshShape();
    void refreshProgress();
    void refreshSummary();
    void refreshHint();

    ContentView& content_;
    Spinner& spinner_;
    TintedLabel& scannedCount_;
    TintedLabel& currentPath_;
    TintedLabel& summary_;
    TintedLabel& lastScan_;
    TintedLabel& hint_;
};

}  // namespace vestigo
