// The settings that all windows share.
#pragma once

#include <functional>
#include <memory>

#include "engine/observers.h"
#include "platform/preferences.h"

namespace vestigo {

/// Bound to the preferences store: a change is stored at once and every observer hears of it.
/// Main thread only.
class Settings {
public:
    explicit Settings(std::shared_ptr<Preferences> preferences);

    /// The user has accepted the first-run disclaimer.
    [[nodiscard]] bool acceptedDisclaimer() const;
    void setAcceptedDisclaimer(bool value);
    /// Points added to the text of table and status bar: 0, 4 or 8. Any other stored value reads
    /// as 0.
    [[nodiscard]] int fontDelta() const;
    void setFontDelta(int value);

    [[nodiscard]] Subscription subscribe(std::function<void()> observer);

private:
    std::shared_ptr<Preferences> preferences_;
    Observers<> observers_;
};

}  // namespace vestigo
