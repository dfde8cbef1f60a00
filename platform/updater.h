// Looks for newer versions of the program.
#pragma once

#include <memory>

namespace vestigo {

/// Main thread only. Shows its results and failures in dialogs of its own, and keeps its own
/// settings. Once created, it also checks on its own schedule.
class Updater {
public:
    virtual ~Updater() = default;
    /// Checks at the user's request and shows every outcome.
    virtual void checkForUpdates() = 0;
    [[nodiscard]] virtual bool automaticallyChecksForUpdates() const = 0;
    /// The value is stored at once.
    virtual void setAutomaticallyChecksForUpdates(bool value) = 0;
};

/// Exists only in builds for macOS that have the Sparkle framework. It starts at once; the feed's
/// address and the key that signs it are in the bundle's Info.plist ("SUFeedURL", "SUPublicEDKey").
[[nodiscard]] std::unique_ptr<Updater> sparkleUpdater();

}  // namespace vestigo
