// An owner who answers as told.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/owner_authentication.h"

namespace vestigo::test {

/// Keeps the questions until they are answered.
class FakeOwnerAuthentication : public OwnerAuthentication {
public:
    bool available() override { return canAsk; }
    void authenticate(const std::string& reason, std::function<void(bool)> reply) override {
        reasons.push_back(reason);
        replies.push_back(std::move(reply));
    }
    /// Answers what has been asked and not been answered yet.
    void answer(bool confirmed) {
        for (const auto& reply : std::exchange(replies, {})) reply(confirmed);
    }

    bool canAsk = true;
    std::vector<std::string> reasons;
    std::vector<std::function<void(bool)>> replies;
};

}  // namespace vestigo::test
