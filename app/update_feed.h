// The update service that this build of the program was made with.
#pragma once

#include <memory>

#include "platform/updater.h"

namespace vestigo {

/// Null when no feed was set at build time (VESTIGO_UPDATE_FEED).
[[nodiscard]] std::unique_ptr<Updater> updaterOfThisBuild();

}  // namespace vestigo
