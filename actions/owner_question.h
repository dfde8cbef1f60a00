// Asks the owner of the machine before something is removed.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/owner_authentication.h"
#include "platform/tasks.h"

namespace vestigo {

/// One question at a time. Main thread only. An answer that comes after this object is destroyed is
/// dropped.
class OwnerQuestion {
public:
    OwnerQuestion(std::shared_ptr<MainQueue> main,
                  std::shared_ptr<OwnerAuthentication> authentication);

    /// Calls `confirmed` in a later turn of the main thread when the owner agrees, and at once on a
    /// machine that has no way to ask. A refusal changes nothing. Ignored while a question is open.
    void ask(const std::string& reason, std::function<void()> confirmed);
    /// Closes the open question, if there is one: its answer is dropped.
    void withdraw();

private:
    void answered(bool agreed);

    std::shared_ptr<MainQueue> main_;
    std::shared_ptr<OwnerAuthentication> authentication_;
    std::function<void()> confirmed_;  ///< To be called if the open question is answered with yes.
    /// Present while a question is open. Each question has its own, so that the answer to one that
    /// was withdrawn is not taken for the answer to the next.
    std::optional<WeakAnchor<OwnerQuestion>> open_;
};

}  // namespace vestigo
