#include "persist/migration.h"

#include "persist/preference_keys.h"

namespace vestigo {

void migrateFromPreviousProduct(Preferences& own, const Preferences* previous, ScanCache& cache) {
    if (own.boolean(preference::migratedFromTracemole)) return;
    if (previous && !own.contains(preference::acceptedDisclaimer) &&
        previous->boolean(preference::acceptedDisclaimer)) {
        own.setBoolean(preference::acceptedDisclaimer, true);
    }
    cache.migrateOldCacheFile();
    own.setBoolean(preference::migratedFromTracemole, true);
}

}  // namespace vestigo
