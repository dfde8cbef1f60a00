// Updates through the Sparkle framework, where a build for macOS found it.
#pragma once

#include <memory>

#include "platform/updater.h"

namespace vestigo {

/// Starts at once. Where the feed is, and the key that signs it, stand in the bundle's Info.plist
/// ("SUFeedURL", "SUPublicEDKey").
[[nodiscard]] std::unique_ptr<Updater> sparkleUpdater();

}  // namespace vestigo
