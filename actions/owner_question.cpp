#include "actions/owner_question.h"

#include <utility>

namespace vestigo {

OwnerQuestion::OwnerQuestion(std::shared_ptr<MainQueue> main,
                             std::shared_ptr<OwnerAuthentication> authentication)
    : main_(std::move(main)), authentication_(std::move(authentication)) {}

void OwnerQuestion::ask(const std::string& reason, std::function<void()> confirmed) {
    if (open_) return;
    if (!authentication_->available()) return confirmed();
    confirmed_ = std::move(confirmed);
    open_.emplace(*this);
    authentication_->authenticate(reason, [main = main_, asker = open_->ref()](bool agreed) {
        main->post([asker, agreed] {
            if (auto* const question = asker.get()) question->answered(agreed);
        });
    });
}

void OwnerQuestion::answered(bool agreed) {
    const auto confirmed = std::exchange(confirmed_, {});
    withdraw();
    if (agreed) confirmed();
}

void OwnerQuestion::withdraw() {
    open_.reset();
    confirmed_ = {};
}

}  // namespace vestigo
