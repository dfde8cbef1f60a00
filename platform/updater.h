// The service that looks for newer versions of the program.
#pragma once

namespace vestigo {

/// Main thread only. Shows what it finds, and what fails, in dialogs of its own; keeps its settings
/// itself. Starts checking on its own schedule when it is made.
class Updater {
public:
    virtual ~Updater() = default;
    /// Because the user asked: every outcome is shown.
    virtual void checkForUpdates() = 0;
    [[nodiscard]] virtual bool automaticallyChecksForUpdates() const = 0;
    /// Stored at once.
    virtual void setAutomaticallyChecksForUpdates(bool value) = 0;
};

}  // namespace vestigo
