// Has PolicyKit ask users for their own password.
#pragma once

#include <memory>
#include <string>

#include "platform/owner_authentication.h"
#include "platform/processes.h"

namespace vestigo {

/// The programs of PolicyKit.
struct PolicyKitPlaces {
    std::string check = "/usr/bin/pkcheck";
    std::string actions = "/usr/bin/pkaction";
};

class LinuxOwnerAuthentication : public OwnerAuthentication {
public:
    explicit LinuxOwnerAuthentication(std::shared_ptr<Processes> processes,
                                      PolicyKitPlaces places = {});

    /// Withdraws an open question.
    ~LinuxOwnerAuthentication() override;

    /// Whether PolicyKit knows our action. Waits one second at most; a PolicyKit that has not
    /// answered by then counts as able to ask. Whether the session has an agent that can ask the
    /// user is not known before `authenticate`: only PolicyKit knows, and it tells only when asked
    /// to authenticate.
    [[nodiscard]] bool available() override;
    /// The user reads the action's own description instead of `reason`: PolicyKit shows no words of
    /// a program that it does not trust. When PolicyKit answers that the session has no agent, the
    /// machine has no way to ask, and that counts as a confirmation.
    void authenticate(const std::string& reason, std::function<void(bool)> reply) override;

private:
    std::shared_ptr<Processes> processes_;
    PolicyKitPlaces places_;
    CancelFlag closing_;
};

}  // namespace vestigo
