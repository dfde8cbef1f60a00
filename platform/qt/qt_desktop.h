// What Qt does for a window on every desktop.
#pragma once

#include "platform/desktop.h"

namespace vestigo {

/// Panels belong to the active window. Needs the application object.
class QtDesktop : public Desktop {
public:
    void reveal(const std::string& path) override;
    void copyText(const std::string& text) override;
    [[nodiscard]] std::optional<std::string> chooseFolder() override;
    [[nodiscard]] std::optional<std::string> chooseCsvFile(const std::string& name) override;
};

}  // namespace vestigo
