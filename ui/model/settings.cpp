#include "ui/model/settings.h"

#include <utility>

#include "persist/preference_keys.h"

namespace vestigo {

Settings::Settings(std::shared_ptr<Preferences> preferences)
    : preferences_(std::move(preferences)) {}

bool Settings::acceptedDisclaimer() const {
    return preferences_->boolean(preference::acceptedDisclaimer);
}

void Settings::setAcceptedDisclaimer(bool value) {
    preferences_->setBoolean(preference::acceptedDisclaimer, value);
    observers_.notify();
}

int Settings::fontDelta() const {
    const int stored = preferences_->integer(preference::fontDelta);
    return stored == 4 || stored == 8 ? stored : 0;
}

void Settings::setFontDelta(int value) {
    preferences_->setInteger(preference::fontDelta, value);
    observers_.notify();
}

Subscription Settings::subscribe(std::function<void()> observer) {
    return observers_.subscribe(std::move(observer));
}

}  // namespace vestigo
