// Who wants to hear of changes.
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace vestigo {

/// Destroying it ends what it stands for.
using Subscription = std::shared_ptr<void>;

/// One thread only. A subscription may be destroyed in a call and may outlive this object; an
/// observer may even destroy this object.
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

    void notify(Arguments... arguments) {
        std::erase_if(observers_, [](const auto& observer) { return observer.expired(); });
        for (const auto& each : std::vector(observers_)) {
            if (const auto observer = each.lock()) (*observer)(arguments...);
        }
    }

private:
    std::vector<std::weak_ptr<Observer>> observers_;
};

}  // namespace vestigo
