// What window tests stand on: a window's model over findings of their own, without a desktop.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/run_loop.h"
#include "tests/support/fake_owner_authentication.h"
#include "tests/support/scan_fakes.h"
#include "ui/content_view.h"

namespace vestigo::test {

/// Remembers what it was asked for; answers as told.
class FakeDesktop : public Desktop {
public:
    void reveal(const std::string& path) override { revealed.push_back(path); }
    void copyText(const std::string& text) override { clipboard = text; }
    std::optional<std::string> chooseFolder() override { return folder; }
    std::optional<std::string> chooseCsvFile(const std::string& name) override {
        proposedName = name;
        return csvFile;
    }

    std::vector<std::string> revealed;
    std::string clipboard;
    std::string proposedName;
    std::optional<std::string> folder;
    std::optional<std::string> csvFile;
};

class MemoryPreferences : public Preferences {
public:
    bool contains(const std::string& key) const override { return values.contains(key); }
    bool boolean(const std::string& key) const override { return integer(key) != 0; }
    int integer(const std::string& key) const override {
        const auto found = values.find(key);
        return found == values.end() ? 0 : found->second;
    }
    void setBoolean(const std::string& key, bool value) override { values[key] = value ? 1 : 0; }
    void setInteger(const std::string& key, int value) override { values[key] = value; }

    std::unordered_map<std::string, int> values;
};

/// Takes everything, and says what; or fails as told.
class FakeTrash : public Trash {
public:
    std::optional<std::string> moveToTrash(const std::string& path) override {
        if (!error) taken.push_back(path);
        return error;
    }

    std::vector<std::string> taken;
    std::optional<std::string> error;
};

/// Starts nothing: the test plays the program.
class FakeProcesses : public Processes {
public:
    std::optional<std::string> start(const ProcessStart& what,
                                     std::function<void(std::string_view)> output,
                                     std::function<void(int)> ended) override {
        started.push_back(what);
        print = std::move(output);
        end = std::move(ended);
        return std::nullopt;
    }

    std::vector<ProcessStart> started;
    std::function<void(std::string_view)> print;
    std::function<void(int)> end;
};

/// Keeps the jobs until they are asked for.
class HeldTasks : public BackgroundTasks {
public:
    void run(Priority, Job job) override { jobs.push_back(std::move(job)); }
    /// Runs what has come by now, on this thread.
    void runHeld() {
        for (const auto& job : std::exchange(jobs, {})) job();
    }

    std::vector<Job> jobs;
};

/// A model of a window and all it was given. The disclaimer has been accepted.
struct WindowFixture {
    WindowFixture();

    /// Findings and signatures of the saved scan that a model made later shows.
    void found(const std::string& path, std::vector<std::string> archs = {"x86_64"},
               double created = 0);
    void signedBy(const std::string& root, const std::string& vendor, bool isApple = false);
    [[nodiscard]] ContentServices services();
    /// Made when first asked for.
    ContentView& content();
    /// Background jobs and what they post, until nothing is left to do.
    void settle();

    std::shared_ptr<RunLoop> loop = std::make_shared<RunLoop>();
    std::shared_ptr<HeldTasks> tasks = std::make_shared<HeldTasks>();
    std::shared_ptr<MemoryStore> store = std::make_shared<MemoryStore>();
    std::shared_ptr<FakeDesktop> desktop = std::make_shared<FakeDesktop>();
    std::shared_ptr<MemoryPreferences> preferences = std::make_shared<MemoryPreferences>();
    std::shared_ptr<NotificationCenter> notifications = std::make_shared<NotificationCenter>();
    std::shared_ptr<Settings> settings = std::make_shared<Settings>(preferences);
    std::shared_ptr<FakeTrash> trash = std::make_shared<FakeTrash>();
    std::shared_ptr<FakeProcesses> processes = std::make_shared<FakeProcesses>();
    std::shared_ptr<FakeOwnerAuthentication> authentication =
        std::make_shared<FakeOwnerAuthentication>();
    LeftoverPlaces places{.home = "/Users/me"};
    HomebrewPlaces homebrew;
    bool terminated = false;

private:
    std::unique_ptr<ContentView> content_;
};

}  // namespace vestigo::test
