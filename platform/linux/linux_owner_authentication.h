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
    /// Whether something in the session can be expected to ask the user.
    bool hasAgent = false;
};

/// As the session's environment tells: a desktop brings an agent with it.
[[nodiscard]] PolicyKitPlaces policyKitPlaces();

class LinuxOwnerAuthentication : public OwnerAuthentication {
public:
    explicit LinuxOwnerAuthentication(std::shared_ptr<Processes> processes,
                                      PolicyKitPlaces places = policyKitPlaces());

    /// An open question is taken back.
    ~LinuxOwnerAuthentication() override;

    /// Whether PolicyKit answers and knows our action, and there is an agent. Waits a few seconds
    /// at most.
    [[nodiscard]] bool available() override;
    /// What the user reads comes from the action's own description: PolicyKit shows no words of a
    /// program that it has no reason to trust. Where it turns out that nothing in the session can
    /// ask the user, the machine has no way to ask, and that counts as a confirmation.
    void authenticate(const std::string& reason, std::function<void(bool)> reply) override;

private:
    std::shared_ptr<Processes> processes_;
    PolicyKitPlaces places_;
    CancelFlag closing_;
};

}  // namespace vestigo
