#include "persist/preference_keys.h"

namespace vestigo {

void migrateFromPreviousProduct(Preferences& own,
                                const std::function<std::shared_ptr<Preferences>()>& openPrevious,
                                ScanCache& cache) {
    if (own.boolean(preference::migratedFromTracemole)) return;
    const auto previous = openPrevious ? openPrevious() : nullptr;
    if (previous && !own.contains(preference::acceptedDisclaimer) &&
        previous->boolean(preference::acceptedDisclaimer)) {
        own.setBoolean(preference::acceptedDisclaimer, true);
    }
    cache.migrateOldCacheFile();
    own.setBoolean(preference::migratedFromTracemole, true);
}

}  // namespace vestigo
