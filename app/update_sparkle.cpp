#include "app/update_feed.h"
#include "platform/macos/sparkle/sparkle_updater.h"

namespace vestigo {

std::unique_ptr<Updater> updaterOfThisBuild() {
    return sparkleUpdater();
}

}  // namespace vestigo
