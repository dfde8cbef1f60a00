// The program's platform, as tests play them.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "engine/scanner.h"
#include "platform/desktop.h"
#include "platform/lasting_processes.h"
#include "platform/owner_authentication.h"
#include "platform/preferences.h"
#include "platform/tasks.h"
#include "platform/trash.h"

namespace vestigo::test {

/// Remembers what it was asked for; answers as told.
class FakeDesktop : public Desktop {
public:
    void reveal(const std::string& path) override { revealed.push_back(path); }
    void copyText(const std::string& text) override { clipboard = text; }
    void announce(const std::string& text) override { announced.push_back(text); }
    std::optional<std::string> chooseFolder() override { return folder; }
    std::optional<std::string> chooseCsvFile(const std::string& name) override {
        proposedName = name;
        return csvFile;
    }

    std::vector<std::string> revealed;
    std::vector<std::string> announced;
    std::string clipboard;
    std::string proposedName;
    std::optional<std::string> folder;
    std::optional<std::string> csvFile;
};

/// An owner who answers as told: keeps the questions until then.
class FakeOwnerAuthentication : public OwnerAuthentication {
public:
    bool available() override { return canAsk; }
    void authenticate(const std::string& reason, std::function<void(bool)> reply) override {
        reasons.push_back(reason);
        replies.push_back(std::move(reply));
    }
    /// Answers what has been asked and not been answered yet.
    void answer(bool confirmed) {
        for (const auto& reply : std::exchange(replies, {})) reply(confirmed);
    }

    bool canAsk = true;
    std::vector<std::string> reasons;
    std::vector<std::function<void(bool)>> replies;
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

/// A saved scan in memory.
class MemoryStore : public ScanStore {
public:
    std::optional<ScanFile> readScanFile() override { return record; }
    void writeScanFile(const ScanFile& written) override {
        record = written;
        ++writes;
    }

    std::optional<ScanFile> record;
    int writes = 0;
};

/// Takes everything, and says what; or fails as told.
class FakeTrash : public Trash {
public:
    std::optional<std::string> moveToTrash(const std::string& path,
                                           const ItemIdentity& item) override {
        identities.push_back(item);
        if (failing.contains(path)) return "cannot move " + path;
        if (!error) taken.push_back(path);
        return error;
    }

    std::vector<std::string> taken;
    std::vector<ItemIdentity> identities;  ///< That it was asked for.
    std::set<std::string> failing;
    std::optional<std::string> error;
};

/// Starts nothing: the test plays the program that is started.
class FakeLastingProcesses : public LastingProcesses {
public:
    Started start(const ProcessStart& what, const std::string&, const std::string& note) override {
        if (error) return *error;
        started.push_back(what);
        return std::make_unique<Run>(*this, note, true);
    }
    std::unique_ptr<LastingRun> takeOver(const std::string&) override {
        if (left.empty()) return nullptr;
        const auto [note, runs] = left.front();
        left.erase(left.begin());
        return std::make_unique<Run>(*this, note, runs);
    }

    std::optional<std::string> error;  ///< Why it cannot be started.
    std::vector<ProcessStart> started;
    /// What was started before: its note, and whether it still runs.
    std::vector<std::pair<std::string, bool>> left;
    /// Of the one that is followed.
    std::function<void(std::string_view)> print;
    std::function<void(std::optional<int>)> end;
    std::vector<std::string> forgotten;  ///< Notes.

private:
    class Run : public LastingRun {
    public:
        Run(FakeLastingProcesses& all, std::string note, bool runs)
            : all_(all), note_(std::move(note)), runs_(runs) {}
        const std::string& note() const override { return note_; }
        bool running() const override { return runs_; }
        void follow(std::function<void(std::string_view)> output,
                    std::function<void(std::optional<int>)> ended) override {
            all_.print = std::move(output);
            all_.end = std::move(ended);
        }
        void forget() override { all_.forgotten.push_back(note_); }

    private:
        FakeLastingProcesses& all_;
        std::string note_;
        bool runs_;
    };
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

}  // namespace vestigo::test
