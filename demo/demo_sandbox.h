// Where the demonstration plays: a private folder with a made-up disk in it.
#pragma once

#include <optional>
#include <string>

#include "app/window_services.h"

namespace vestigo {

/// A new private folder with the demonstration disk in it, removed with everything at the end.
class DemoSandbox {
public:
    DemoSandbox();
    ~DemoSandbox();
    DemoSandbox(const DemoSandbox&) = delete;
    DemoSandbox& operator=(const DemoSandbox&) = delete;

    /// Stands for "/"; has no links in it. Absent when it could not be made; errno then says why.
    [[nodiscard]] const std::optional<std::string>& disk() const { return disk_; }

private:
    std::optional<std::string> folder_;
    std::optional<std::string> disk_;
};

/// Where its Trash really is.
[[nodiscard]] std::string demoTrashFolder(const std::string& disk);

/// Everything that the program keeps or looks at lies on `disk`; only what the user exports goes
/// where they say. Needs the application object.
[[nodiscard]] PlatformServices demoPlatformServices(const std::string& disk);

}  // namespace vestigo
