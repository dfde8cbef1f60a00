// Asks for a fingerprint, a paired watch or the account's password.
#pragma once

#include <memory>

#include "platform/owner_authentication.h"

namespace vestigo {

class MacOSOwnerAuthentication : public OwnerAuthentication {
public:
    MacOSOwnerAuthentication();
    /// Withdraws the latest question if it is still open: its reply is then called with false.
    ~MacOSOwnerAuthentication() override;

    [[nodiscard]] bool available() override;
    /// `reply` is called on a thread of the system.
    void authenticate(const std::string& reason, std::function<void(bool)> reply) override;

private:
    struct Question;
    std::unique_ptr<Question> latest_;
};

}  // namespace vestigo
