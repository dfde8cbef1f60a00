// Services that the user's desktop offers to a window.
#pragma once

#include <optional>
#include <string>

namespace vestigo {

/// Main thread only.
class Desktop {
public:
    virtual ~Desktop() = default;
    /// Has the file manager show the item, selected in its folder; where no file manager answers,
    /// opens the folder that contains the item. Returns at once and reports no failure.
    virtual void reveal(const std::string& path) = 0;
    /// Replaces what is on the clipboard with plain text.
    virtual void copyText(const std::string& text) = 0;
    /// Has a screen reader say the text after what it is saying now. Does nothing where no screen
    /// reader is active.
    virtual void announce(const std::string& text) = 0;
    /// Asks the user for one existing folder. Blocks until the user has answered, while other
    /// events are handled. Returns the folder's absolute path; absent when the user cancelled.
    [[nodiscard]] virtual std::optional<std::string> chooseFolder() = 0;
    /// Asks where to save a file of comma-separated values and proposes `name`; blocks in the same
    /// way. The user has confirmed that an existing file is overwritten. Returns the file's
    /// absolute path; absent when the user cancelled.
    [[nodiscard]] virtual std::optional<std::string> chooseCsvFile(const std::string& name) = 0;
};

}  // namespace vestigo
