// Shows an item in the file manager of a freedesktop.org desktop.
#pragma once

#include <QByteArray>
#include <string>

namespace vestigo {

/// The file URI of a path's bytes.
[[nodiscard]] QByteArray fileUri(const std::string& path);

/// Asks org.freedesktop.FileManager1 on the session bus for a window with the item selected; where
/// nobody answers, opens the folder around it. Returns at once. Main thread only.
void revealOnFreedesktop(const std::string& path);

}  // namespace vestigo
