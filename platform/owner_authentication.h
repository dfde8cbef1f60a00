// Confirms that the person at the machine is its owner, by fingerprint, watch or account password.
#pragma once

#include <functional>
#include <string>

namespace vestigo {

/// Main thread only.
class OwnerAuthentication {
public:
    virtual ~OwnerAuthentication() = default;
    /// False when the machine has no way to ask.
    [[nodiscard]] virtual bool available() = 0;
    /// Asks, giving `reason` ("confirm …", in the user's words). Returns at once; `reply` is called
    /// once, on any thread, with true only when the owner has confirmed.
    virtual void authenticate(const std::string& reason, std::function<void(bool)> reply) = 0;
};

}  // namespace vestigo
