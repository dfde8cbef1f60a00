// What the update service has to say.
#pragma once

#include <QDialog>
#include <functional>

#include "platform/qt/appcast.h"

namespace vestigo {

// Each makes a dialog that belongs to the active window and to the caller. They show only plain
// text: what comes from the web has no marks.

[[nodiscard]] QDialog* upToDateDialog(const QString& version);
[[nodiscard]] QDialog* updateFailureDialog(const QString& reason);
/// `openPage` is called with the page of `newest` when the user asks for it.
[[nodiscard]] QDialog* newerVersionDialog(const AppcastItem& newest, const QString& version,
                                          const std::function<void(const QUrl&)>& openPage);

}  // namespace vestigo
