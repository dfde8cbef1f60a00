#include "actions/removal.h"

#include <utility>

namespace vestigo {

/// How replies reach their Removal. Only the main thread looks inside.
struct Removal::Handle {
    Removal* removal;
};

Removal::Removal(RemovalServices services, RemovalWindow& window)
    : services_(std::move(services)),
      window_(window),
      handle_(std::make_shared<Handle>(Handle{this})),
      question_(services_.main, services_.authentication) {}

Removal::~Removal() {
    handle_->removal = nullptr;
}

void Removal::confirmDelete() {
    const auto count = window_.deletableSelection().size();
    question_.ask("confirm moving " + std::to_string(count) + " item(s) to the Trash",
                  [this] { performDelete(); });
}

void Removal::performDelete() {
    // What is removed is what was ticked when it began.
    const auto leftovers = window_.leftovers();
    auto message = trashSelection();
    std::vector<std::string> systemPaths;
    for (const auto& leftover : leftovers) {
        if (!leftover.on) continue;
        auto error = leftover.system ? services_.removalRefusal(leftover.path)
                                     : services_.trashPath(leftover.path);
        if (leftover.system && !error) systemPaths.push_back(leftover.path);
        if (!message) message = std::move(error);
    }
    if (message) window_.showAlert(std::move(*message));
    window_.removalEnded();
    if (!systemPaths.empty()) runAdminCleanup(std::move(systemPaths));
}

std::optional<std::string> Removal::trashSelection() {
    RootSet roots;
    for (const auto* group : window_.deletableSelection()) roots.insert(group->root);
    return services_.trashGroups(roots);
}

void Removal::runAdminCleanup(std::vector<std::string> paths) {
    services_.background->run(Priority::normal, [main = services_.main, cleanup = services_.cleanup,
                                                 handle = handle_, paths = std::move(paths)] {
        auto message = cleanup->runAdminCleanup(paths);
        if (!message) return;
        main->post([handle, message = std::move(*message)] {
            if (handle->removal) handle->removal->window_.showAlert(message);
        });
    });
}

}  // namespace vestigo
