#include "actions/owner_question.h"

#include <utility>

namespace vestigo {

/// Goes when it is answered, withdrawn or nobody is there any more.
struct OwnerQuestion::Open {
    OwnerQuestion* asker;
    std::function<void()> confirmed;
};

OwnerQuestion::OwnerQuestion(std::shared_ptr<MainQueue> main,
                             std::shared_ptr<OwnerAuthentication> authentication)
    : main_(std::move(main)), authentication_(std::move(authentication)) {}

void OwnerQuestion::ask(const std::string& reason, std::function<void()> confirmed) {
    if (open_) return;
    if (!authentication_->available()) return confirmed();
    open_ = std::make_shared<Open>(Open{this, std::move(confirmed)});
    authentication_->authenticate(reason,
                                  [main = main_, known = std::weak_ptr(open_)](bool agreed) {
                                      main->post([known, agreed] {
                                          const auto open = known.lock();
                                          if (!open) return;
                                          open->asker->withdraw();
                                          if (agreed) open->confirmed();
                                      });
                                  });
}

void OwnerQuestion::withdraw() {
    open_.reset();
}

}  // namespace vestigo
