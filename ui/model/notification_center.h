// Broadcasts a request of the application to every open window.
#pragma once

#include <functional>
#include <string_view>

#include "engine/observers.h"

namespace vestigo {

/// The names of all notifications.
namespace notification {
inline constexpr std::string_view showAbout = "vgShowAbout";
inline constexpr std::string_view showHelp = "vgShowHelp";
inline constexpr std::string_view outOfMemory = "vgOutOfMemory";
}  // namespace notification

/// `post` calls every observer before it returns. Main thread only.
class NotificationCenter {
public:
    void post(std::string_view name) { observers_.notify(name); }
    [[nodiscard]] Subscription subscribe(std::function<void(std::string_view name)> observer) {
        return observers_.subscribe(std::move(observer));
    }

private:
    Observers<std::string_view> observers_;
};

}  // namespace vestigo
