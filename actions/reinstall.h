// Reinstalls with the native Homebrew what an Intel Homebrew has installed, and removes the old
// copy.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "actions/owner_question.h"
#include "engine/observers.h"
#include "engine/removal_check.h"
#include "platform/files.h"
#include "platform/lasting_processes.h"
#include "platform/links.h"
#include "platform/owner_authentication.h"
#include "platform/tasks.h"

namespace vestigo {

/// The place of the native Homebrew, and the programs that run it.
struct HomebrewPlaces {
    std::string installation = "/opt/homebrew";
    std::string brew = "/opt/homebrew/bin/brew";
    std::string launcher = "/usr/bin/arch";
    /// The PATH that Homebrew gets.
    std::string searchPath = "/opt/homebrew/bin:/usr/bin:/bin:/usr/sbin:/sbin";
};

/// The services that reinstalls need. All are required.
struct ReinstallServices {
    std::shared_ptr<MainQueue> main;
    std::shared_ptr<LastingProcesses> processes;
    std::shared_ptr<Files> files;
    std::shared_ptr<Links> links;
    std::shared_ptr<OwnerAuthentication> authentication;
    // Two functions of the Scanner. The first makes new checks; the second removes a checked item.
    std::function<std::unique_ptr<RemovalChecks>()> checks;
    std::function<std::optional<std::string>(const std::string&, const RemovalChecks*)> trashPath;
    /// The folder that keeps the files of a reinstall until the user has been told of its end.
    /// Several windows, and several programs, may share it.
    std::string folder;
    HomebrewPlaces places = {};
};

/// A formula to reinstall, and the root of the group that it is done for.
struct ReinstallTarget {
    std::string formula;
    std::string root;
    friend bool operator==(const ReinstallTarget&, const ReinstallTarget&) = default;
};

/// The end of a reinstall.
struct ReinstallEnd {
    ReinstallTarget target;
    std::optional<int> status;  ///< The exit status; absent when it is unknown.
};

/// Reports a step of a reinstall, or of the removal of an old copy.
struct ReinstallReport {
    std::string log = {};                  ///< Text to append to the log; UTF-8.
    bool newLog = false;                   ///< The log is cleared before that.
    bool running = false;                  ///< Whether a reinstall is running from now on.
    std::optional<ReinstallEnd> end = {};  ///< Present when a reinstall has just ended.
    /// A message to show at once; empty for none. Only a reinstall that was taken over has one,
    /// since the user does not have its log open.
    std::string notice = {};
};

/// The text for the user when the program stops following a reinstall that is still running.
[[nodiscard]] std::string continuesText(const ReinstallTarget& target);

/// The folder of a root's formula in its Cellar, with all versions: ".../Cellar/wget" for
/// ".../Cellar/wget/1.21.4/bin/wget". Absent for a root that lies in no Cellar.
[[nodiscard]] std::optional<std::string> oldIntelCopyPath(std::string_view root);

/// Runs the reinstalls of one window, one at a time. Main thread only. A reinstall goes on when
/// this is destroyed and when the program ends, however it ends. The next window that calls
/// `takeOver` then follows it.
class Reinstall {
public:
    explicit Reinstall(ReinstallServices services);
    ~Reinstall();
    Reinstall(const Reinstall&) = delete;
    Reinstall& operator=(const Reinstall&) = delete;

    /// Calls `observer` with each report in order, until the subscription is destroyed.
    [[nodiscard]] Subscription subscribe(std::function<void(const ReinstallReport&)> observer);

    /// Starts a reinstall and returns at once; reports tell how it goes. Does nothing while another
    /// one runs in this window.
    void startReinstall(const ReinstallTarget& target);
    /// Follows the reinstalls that were started earlier and that no window follows, one after the
    /// other, and reports on them as on its own. Does nothing while another one runs in this
    /// window.
    void takeOver();
    /// The target of the reinstall that is running; null when none is.
    [[nodiscard]] const ReinstallTarget* running() const;
    /// Asks the owner, if the machine has a way to, and removes the old copy if they agree. The
    /// copy is checked meanwhile, and is removed only if it is still the same item then.
    void confirmRemoveOldCopy(const std::string& path);
    /// Drops the question to the owner and the removal of the old copy.
    void withdraw();
    /// Moves the formula's folder to the Trash, unless it belongs to the native Homebrew, and then
    /// removes the dead links that led into it. Reports the outcome to the log. Blocking.
    void removeOldIntelCopy(const std::string& path);

private:
    class Output;

    /// The reinstall that is running.
    struct Current {
        ReinstallTarget target;
        std::unique_ptr<LastingRun> run;
        bool takenOver;
        std::string lastOutput = {};  ///< The end of its output; kept only if it was taken over.
    };

    [[nodiscard]] ProcessStart command(const std::string& formula) const;
    void follow(Current current);
    void receiveOutput(std::string text);
    void receiveEnd(std::optional<int> status);
    /// Reports text for the log and nothing else.
    void log(std::string text);

    ReinstallServices services_;
    std::optional<Current> current_;
    OwnerQuestion question_;
    std::unique_ptr<RemovalChecks> oldCopyChecks_;  ///< Null while no old copy is to be removed.
    Observers<const ReinstallReport&> observers_;
    WeakAnchor<Reinstall> anchor_{*this};
};

}  // namespace vestigo
