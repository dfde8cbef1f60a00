// What a Homebrew reinstall changes in the window that asked for it.
#pragma once

#include <string>
#include <string_view>

namespace vestigo {

/// Main thread only.
class ReinstallWindow {
public:
    virtual ~ReinstallWindow() = default;
    virtual void setUpdateLog(std::string text) = 0;
    virtual void appendToUpdateLog(std::string_view text) = 0;
    virtual void setUpdating(bool value) = 0;
    /// The group with this root has been reinstalled as arm64.
    virtual void addUpdatedID(const std::string& root) = 0;
};

}  // namespace vestigo
