// The desktop's services, as Qt offers them on every system.
#pragma once

#include <QByteArray>
#include <string>
#include <utility>

#include "platform/desktop.h"

namespace vestigo {

/// The file URI of a path, encoded byte by byte.
[[nodiscard]] QByteArray fileUri(const std::string& path);

/// Asks org.freedesktop.FileManager1 on the session bus for a window with the item selected; if
/// nobody answers, opens the folder that contains the item. Returns at once. Main thread only.
void revealOnFreedesktop(const std::string& path);

/// Dialogs belong to the active window. Needs the application object.
class QtDesktop : public Desktop {
public:
    /// The dialog for a folder opens in `folder`; when it is empty, where the platform opens it.
    explicit QtDesktop(std::string folder = {}) : folder_(std::move(folder)) {}

    void reveal(const std::string& path) override;
    void copyText(const std::string& text) override;
    void announce(const std::string& text) override;
    [[nodiscard]] std::optional<std::string> chooseFolder() override;
    [[nodiscard]] std::optional<std::string> chooseCsvFile(const std::string& name) override;

private:
    std::string folder_;
};

}  // namespace vestigo
