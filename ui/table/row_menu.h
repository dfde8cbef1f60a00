// The menu of a row of the results table.
#pragma once

#include <QPoint>
#include <QWidget>

#include "ui/model/content_view.h"

namespace vestigo {

/// Opens it at a place on the screen; it deletes itself. Its items act on the group that has this
/// one's root when they are chosen, and do nothing when none has.
void openRowMenu(ContentView& content, const BundleGroup& group, const QPoint& place,
                 QWidget& parent);

}  // namespace vestigo
