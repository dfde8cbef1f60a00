// What the user's desktop does for a window.
#pragma once

#include <optional>
#include <string>

namespace vestigo {

/// Main thread only.
class Desktop {
public:
    virtual ~Desktop() = default;
    /// Asks the file manager for a window with the item selected; where no file manager answers,
    /// for one that shows the folder around it. Returns at once; nothing fails visibly.
    virtual void reveal(const std::string& path) = 0;
    /// Replaces what is on the clipboard with plain text.
    virtual void copyText(const std::string& text) = 0;
    /// Asks for one existing folder and blocks until the user has answered; other events are
    /// handled meanwhile. The folder's absolute path; absent when the user cancelled.
    [[nodiscard]] virtual std::optional<std::string> chooseFolder() = 0;
    /// Asks where to save a file of comma-separated values, proposing `name`; blocks likewise.
    /// Overwriting has been confirmed. The file's absolute path; absent when the user cancelled.
    [[nodiscard]] virtual std::optional<std::string> chooseCsvFile(const std::string& name) = 0;
};

}  // namespace vestigo
