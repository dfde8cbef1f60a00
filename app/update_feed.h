// Makes the update service that was chosen when the program was built.
#pragma once

#include <memory>

#include "platform/updater.h"

namespace vestigo {

/// Returns null when no feed was set at build time (VESTIGO_UPDATE_FEED).
[[nodiscard]] std::unique_ptr<Updater> updaterOfThisBuild();

}  // namespace vestigo
