// The keys of the program's own settings.
#pragma once

#include <functional>
#include <memory>

#include "persist/scan_cache.h"
#include "platform/preferences.h"

namespace vestigo::preference {

/// Boolean: the first-run disclaimer was accepted. The previous product used the same name.
inline constexpr char acceptedDisclaimer[] = "TM_acceptedDisclaimer";
/// Integer: points added to the text size of table and status bar (0, 4 or 8).
inline constexpr char fontDelta[] = "TM_fontDelta";
/// Boolean: what the previous product left has been taken over.
inline constexpr char migratedFromTracemole[] = "Vestigo_migratedFromTracemole";

}  // namespace vestigo::preference

namespace vestigo {

/// At the first launch takes over the disclaimer's acceptance and the last scan; at every later one
/// does nothing. Never overwrites a value or a file of this version. `openPrevious` opens the
/// settings domain of the previous version, which is only read, and at the first launch only; it
/// may give null or be empty. Main thread.
void migrateFromPreviousProduct(Preferences& own,
                                const std::function<std::shared_ptr<Preferences>()>& openPrevious,
                                ScanCache& cache);

}  // namespace vestigo
