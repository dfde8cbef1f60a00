// The keys of the program's own settings, and the migration of those of the previous product.
#pragma once

#include <functional>
#include <memory>

#include "persist/scan_cache.h"
#include "platform/preferences.h"

namespace vestigo::preference {

/// Boolean: the user has accepted the disclaimer of the first launch. The previous product used the
/// same name.
inline constexpr char acceptedDisclaimer[] = "TM_acceptedDisclaimer";
/// Integer: the points added to the text size of table and status bar (0, 4 or 8).
inline constexpr char fontDelta[] = "TM_fontDelta";
/// Boolean: the migration from the previous product has been done.
inline constexpr char migratedFromTracemole[] = "Vestigo_migratedFromTracemole";

}  // namespace vestigo::preference

namespace vestigo {

/// At the first launch, takes over from the previous product the acceptance of the disclaimer and
/// the last scan; at every later launch, does nothing. Never overwrites a value or a file of this
/// product. `openPrevious` opens the settings of the previous product. It is called at the first
/// launch only, and may return null or be empty; those settings are only read. Main thread.
void migrateFromPreviousProduct(Preferences& own,
                                const std::function<std::shared_ptr<Preferences>()>& openPrevious,
                                ScanCache& cache);

}  // namespace vestigo
