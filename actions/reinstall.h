// Replaces what an Intel Homebrew installed by its native build.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "actions/owner_question.h"
#include "engine/observers.h"
#include "engine/removal_look.h"
#include "platform/files.h"
#include "platform/lasting_processes.h"
#include "platform/links.h"
#include "platform/owner_authentication.h"
#include "platform/tasks.h"

namespace vestigo {

/// Where the native Homebrew lives, and what runs it.
struct HomebrewPlaces {
    std::string installation = "/opt/homebrew";
    std::string brew = "/opt/homebrew/bin/brew";
    std::string launcher = "/usr/bin/arch";
    /// PATH of what is run.
    std::string searchPath = "/opt/homebrew/bin:/usr/bin:/bin:/usr/sbin:/sbin";
};

/// All are required.
struct ReinstallServices {
    std::shared_ptr<MainQueue> main;
    std::shared_ptr<LastingProcesses> processes;
    std::shared_ptr<Files> files;
    std::shared_ptr<Links> links;
    std::shared_ptr<OwnerAuthentication> authentication;
    // The Scanner's: new looks, and the removal of one item as they were told of it.
    std::function<std::unique_ptr<RemovalLooks>()> looks;
    std::function<std::optional<std::string>(const std::string&, const RemovalLooks*)> trashPath;
    /// The folder that keeps reinstalls until their end has been told. Several windows, and several
    /// programs, may use the same one.
    std::string folder;
    HomebrewPlaces places = {};
};

/// A formula to reinstall, and the root of the group that it is done for.
struct ReinstallTarget {
    std::string formula;
    std::string root;
    friend bool operator==(const ReinstallTarget&, const ReinstallTarget&) = default;
};

struct ReinstallEnd {
    ReinstallTarget target;
    std::optional<int> status;  ///< The exit status; absent when nobody knows it.
};

/// A step of a reinstall, or of the removal of an old copy.
struct ReinstallReport {
    std::string log = {};                  ///< What the log gains; UTF-8.
    bool newLog = false;                   ///< The log begins anew with that.
    bool running = false;                  ///< Whether a reinstall runs from now on.
    std::optional<ReinstallEnd> end = {};  ///< It has just ended.
    /// A message to show at once, empty for none. Only a reinstall that was started before has one,
    /// since nobody looks at its log.
    std::string notice = {};
};

/// What the user is told when nobody follows a reinstall any longer.
[[nodiscard]] std::string goesOnText(const ReinstallTarget& target);

/// The whole folder of a root's formula in its Cellar, all versions: ".../Cellar/wget" of
/// ".../Cellar/wget/1.21.4/bin/wget". Absent for a root that lies in no Cellar.
[[nodiscard]] std::optional<std::string> oldIntelCopyPath(std::string_view root);

/// The reinstalls of one window, one at a time. Main thread only. A reinstall outlives this and the
/// whole program, however they end: it is then taken over by the next one that asks.
class Reinstall {
public:
    explicit Reinstall(ReinstallServices services);
    ~Reinstall();
    Reinstall(const Reinstall&) = delete;
    Reinstall& operator=(const Reinstall&) = delete;

    /// Calls `observer` with each report, in their order, until the subscription is destroyed.
    [[nodiscard]] Subscription subscribe(std::function<void(const ReinstallReport&)> observer);

    /// Returns at once; the reports tell the rest. Does nothing while another reinstall runs.
    void startReinstall(const ReinstallTarget& target);
    /// Follows what was started before and nobody follows any more, one after the other, and
    /// reports as if it were its own. Does nothing while another reinstall runs.
    void takeOver();
    /// What runs now. Null: nothing.
    [[nodiscard]] const ReinstallTarget* running() const;
    /// Asks the owner first, where the machine has a way to; no confirmation, no change. The copy
    /// is looked into meanwhile, and goes only as it is now.
    void confirmRemoveOldCopy(const std::string& path);
    /// The user has turned to something else while the owner was being asked.
    void withdraw();
    /// Moves the formula's folder to the Trash, unless it is the native Homebrew's, then removes
    /// the links that led into it. The log tells how it went. Blocking.
    void removeOldIntelCopy(const std::string& path);

private:
    class Output;

    /// The one that runs.
    struct Current {
        ReinstallTarget target;
        std::unique_ptr<LastingRun> run;
        bool takenOver;
        std::string lastOutput = {};  ///< Of one that was taken over.
    };

    [[nodiscard]] ProcessStart command(const std::string& formula) const;
    void follow(Current current);
    void printed(std::string text);
    void ended(std::optional<int> status);
    /// In the log, where nothing else changes.
    void note(std::string text);

    ReinstallServices services_;
    std::optional<Current> current_;
    OwnerQuestion question_;
    std::unique_ptr<RemovalLooks> oldCopyLooks_;  ///< Null while no old copy is to be removed.
    Observers<const ReinstallReport&> observers_;
    WeakAnchor<Reinstall> anchor_{*this};
};

}  // namespace vestigo
