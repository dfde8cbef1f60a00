// The private folder that holds the made-up disk, and the services of a program that sees only it.
#pragma once

#include <optional>
#include <string>

#include "app/window_services.h"

namespace vestigo {

/// Creates a private folder with the made-up disk in it, and removes it on destruction.
class DemoSandbox {
public:
    DemoSandbox();
    ~DemoSandbox();
    DemoSandbox(const DemoSandbox&) = delete;
    DemoSandbox& operator=(const DemoSandbox&) = delete;

    /// The path of the folder that stands for "/", without links. Absent with errno when it could
    /// not be made.
    [[nodiscard]] const std::optional<std::string>& disk() const { return disk_; }

private:
    std::optional<std::string> folder_;
    std::optional<std::string> disk_;
};

/// The real path of the Trash of the made-up disk.
[[nodiscard]] std::string demoTrashFolder(const std::string& disk);

/// With these services, everything that the program reads or writes lies on `disk`. Only files that
/// the user exports go to the real disk. The application object must exist.
[[nodiscard]] PlatformServices demoPlatformServices(const std::string& disk);

}  // namespace vestigo
