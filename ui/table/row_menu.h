// The context menu of a row of the results table.
#pragma once

#include <QPoint>
#include <QWidget>

#include "ui/model/content_view.h"

namespace vestigo {

/// Opens the menu at `place`, in screen coordinates; it deletes itself. A rescan may replace the
/// group while the menu is open: its items act on the group that has the same root then, if there
/// is one.
void openRowMenu(ContentView& content, const BundleGroup& group, const QPoint& place,
                 QWidget& parent);

}  // namespace vestigo
