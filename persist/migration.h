// Taking over what the product's previous version left behind.
#pragma once

#include <functional>
#include <memory>

#include "persist/scan_cache.h"
#include "platform/preferences.h"

namespace vestigo {

/// At the first launch takes over the disclaimer's acceptance and the last scan; at every later one
/// does nothing. Never overwrites a value or a file of this version. `openPrevious` opens the
/// settings domain of the previous version, which is only read, and at the first launch only; it
/// may give null or be empty. Main thread.
void migrateFromPreviousProduct(Preferences& own,
                                const std::function<std::shared_ptr<Preferences>()>& openPrevious,
                                ScanCache& cache);

}  // namespace vestigo
