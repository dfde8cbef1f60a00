// Asks the user for their own password through PolicyKit.
#pragma once

#include <memory>
#include <string>

#include "platform/owner_authentication.h"
#include "platform/processes.h"

namespace vestigo {

struct PolicyKitPlaces {
    std::string check = "/usr/bin/pkcheck";
    std::string actions = "/usr/bin/pkaction";
};

class LinuxOwnerAuthentication : public OwnerAuthentication {
public:
    explicit LinuxOwnerAuthentication(std::shared_ptr<Processes> processes,
                                      PolicyKitPlaces places = {});

    /// An open question is taken back.
    ~LinuxOwnerAuthentication() override;

    /// Whether PolicyKit answers and knows our action. Waits a few seconds at most. Whether the
    /// session has an agent that can ask the user is known to PolicyKit alone, and it tells only
    /// when it is asked to ask: no variable of the session's environment goes with an agent.
    [[nodiscard]] bool available() override;
    /// What the user reads comes from the action's own description: PolicyKit shows no words of a
    /// program that it has no reason to trust. Where PolicyKit answers that the session has no
    /// agent, the machine has no way to ask, and that counts as a confirmation.
    void authenticate(const std::string& reason, std::function<void(bool)> reply) override;

private:
    std::shared_ptr<Processes> processes_;
    PolicyKitPlaces places_;
    CancelFlag closing_;
};

}  // namespace vestigo
