// Asking the owner of the machine before something is removed.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/owner_authentication.h"
#include "platform/tasks.h"

namespace vestigo {

/// One question at a time. Main thread only. After its end no answer changes anything any more.
class OwnerQuestion {
public:
    OwnerQuestion(std::shared_ptr<MainQueue> main,
                  std::shared_ptr<OwnerAuthentication> authentication);

    /// Calls `confirmed` in a later turn of the main thread when the owner agrees, at once where
    /// they cannot be asked; else nothing happens. Ignored while a question is open.
    void ask(const std::string& reason, std::function<void()> confirmed);
    /// Whatever the answer to the open question, it comes to nothing.
    void withdraw();

private:
    struct Open;

    std::shared_ptr<MainQueue> main_;
    std::shared_ptr<OwnerAuthentication> authentication_;
    std::shared_ptr<Open> open_;  ///< Absent when none is.
};

}  // namespace vestigo
