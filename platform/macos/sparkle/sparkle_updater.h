// Looks for updates with the Sparkle framework, in builds for macOS that have it.
#pragma once

#include <memory>

#include "platform/updater.h"

namespace vestigo {

/// The updater starts at once. The feed's address and the key that signs it are in the bundle's
/// Info.plist ("SUFeedURL", "SUPublicEDKey").
[[nodiscard]] std::unique_ptr<Updater> sparkleUpdater();

}  // namespace vestigo
