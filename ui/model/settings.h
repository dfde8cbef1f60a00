// Holds the settings that all windows share.
#pragma once

#include <functional>
#include <memory>

#include "engine/observers.h"
#include "platform/preferences.h"

namespace vestigo {

/// A typed view of the preferences. A setter stores the value at once and then calls every
/// observer. Main thread only.
class Settings {
public:
    explicit Settings(std::shared_ptr<Preferences> preferences);

    /// True once the user has accepted the disclaimer of the first start.
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
