// Taking over what the product's previous version left behind.
#pragma once

#include "persist/scan_cache.h"
#include "platform/preferences.h"

namespace vestigo {

/// At the first launch takes over the disclaimer's acceptance and the last scan; at every later one
/// does nothing. Never overwrites a value or a file of this version. `previous` is the settings
/// domain of the previous version, only read; null when it cannot be opened. Main thread.
void migrateFromPreviousProduct(Preferences& own, const Preferences* previous, ScanCache& cache);

}  // namespace vestigo
