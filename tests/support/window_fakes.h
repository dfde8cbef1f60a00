// What window tests stand on: a window's model over findings of their own, without a desktop.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/run_loop.h"
#include "tests/support/service_fakes.h"
#include "ui/model/content_view.h"

namespace vestigo::test {

/// A model of a window and all it was given. The disclaimer has been accepted.
struct WindowFixture {
    WindowFixture();

    /// Findings and signatures of the saved scan that a model made later shows.
    void found(const std::string& path, std::vector<std::string> archs = {"x86_64"},
               double created = 0);
    void foundAll(const std::vector<std::string>& paths);
    void signedBy(const std::string& root, const std::string& vendor, bool isApple = false);
    [[nodiscard]] ContentServices services();
    /// Made when first asked for.
    ContentView& content();
    /// Background jobs and what they post, until nothing is left to do.
    void settle();
    /// The reinstall that is followed ends with this status, and all that comes of it.
    void endReinstall(int status);

    std::shared_ptr<RunLoop> loop = std::make_shared<RunLoop>();
    std::shared_ptr<HeldTasks> tasks = std::make_shared<HeldTasks>();
    std::shared_ptr<MemoryStore> store = std::make_shared<MemoryStore>();
    std::shared_ptr<FakeDesktop> desktop = std::make_shared<FakeDesktop>();
    std::shared_ptr<MemoryPreferences> preferences = std::make_shared<MemoryPreferences>();
    std::shared_ptr<NotificationCenter> notifications = std::make_shared<NotificationCenter>();
    std::shared_ptr<Settings> settings = std::make_shared<Settings>(preferences);
    std::shared_ptr<FakeTrash> trash = std::make_shared<FakeTrash>();
    std::shared_ptr<FakeLastingProcesses> processes = std::make_shared<FakeLastingProcesses>();
    std::shared_ptr<FakeOwnerAuthentication> authentication =
        std::make_shared<FakeOwnerAuthentication>();
    LeftoverPlaces places{.home = "/Users/me"};
    HomebrewPlaces homebrew;
    /// Empty: no signatures are read.
    std::function<SignInfo(const std::string& root)> inspect;
    bool terminated = false;

private:
    std::unique_ptr<ContentView> content_;
};

}  // namespace vestigo::test
