// A list of observers, for objects that report their changes.
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace vestigo {

/// Stands for an observer that is registered. Destroying it ends the calls.
using Subscription = std::shared_ptr<void>;

/// Used by one thread only. A subscription may be destroyed within a call of an observer, and it
/// may outlive this object. An observer may even destroy this object.
template <class... Arguments>
class Observers {
public:
    using Observer = std::function<void(Arguments...)>;

    /// Calls `observer` at every notification until the subscription is destroyed.
    [[nodiscard]] Subscription subscribe(Observer observer) {
        auto subscription = std::make_shared<Observer>(std::move(observer));
        observers_.push_back(subscription);
        return subscription;
    }

    /// Calls all observers in the order in which they subscribed.
    void notify(Arguments... arguments) {
        std::erase_if(observers_, [](const auto& observer) { return observer.expired(); });
        // A copy is walked, because an observer may subscribe another one or destroy this object.
        for (const auto& each : std::vector(observers_)) {
            if (const auto observer = each.lock()) (*observer)(arguments...);
        }
    }

private:
    std::vector<std::weak_ptr<Observer>> observers_;
};

}  // namespace vestigo
