// The update service of a build for macOS that has a feed and the Sparkle framework.
#include "app/update_feed.h"

namespace vestigo {

std::unique_ptr<Updater> updaterOfThisBuild() {
    return sparkleUpdater();
}

}  // namespace vestigo
