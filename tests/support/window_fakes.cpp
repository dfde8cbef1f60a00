#include "tests/support/window_fakes.h"

#include <utility>

#include "platform/posix/posix_files.h"
#include "platform/posix/posix_links.h"
#include "platform/system.h"
#include "tests/support/records.h"

namespace vestigo::test {

WindowFixture::WindowFixture() {
    store->record = savedScan();
    settings->setAcceptedDisclaimer(true);
}

void WindowFixture::found(const std::string& path, std::vector<std::string> archs, double created) {
    store->record->hits.push_back(hitRef({path, std::move(archs), 1, 1, created}));
}

void WindowFixture::foundAll(const std::vector<std::string>& paths) {
    for (const auto& path : paths) found(path);
}

void WindowFixture::signedBy(const std::string& root, const std::string& vendor, bool isApple) {
    store->record->signatures->insert_or_assign(root, SignInfo{isApple, vendor});
}

ContentServices WindowFixture::services() {
    ContentServices services;
    services.scanner.main = loop;
    services.scanner.background = tasks;
    services.scanner.reader = systemDirectoryReader();
    services.scanner.store = store;
    services.scanner.inspect = inspect;
    services.scanner.now = [] { return 800000000.0; };
    const auto files = std::make_shared<PosixFiles>();
    services.scanner.files = files;
    services.scanner.trash = trash;
    services.desktop = desktop;
    services.files = files;
    services.exportFiles = files;
    services.settings = settings;
    services.notifications = notifications;
    services.places = places;
    services.terminate = [this] { terminated = true; };
    services.bundles = systemBundles();
    services.authentication = authentication;
    services.processes = processes;
    services.links = std::make_shared<PosixLinks>();
    services.homebrew = homebrew;
    return services;
}

ContentView& WindowFixture::content() {
    if (!content_) content_ = std::make_unique<ContentView>(services());
    return *content_;
}

void WindowFixture::settle() {
    do {
        tasks->runHeld();
        loop->runPosted();
    } while (!tasks->jobs.empty());
}

void WindowFixture::endReinstall(int status) {
    processes->end(status);
    settle();  // The output,
    settle();  // and then the end.
}

}  // namespace vestigo::test
