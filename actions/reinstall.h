// Replaces what an Intel Homebrew installed by its native build.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "actions/owner_question.h"
#include "actions/reinstall_window.h"
#include "platform/files.h"
#include "platform/links.h"
#include "platform/owner_authentication.h"
#include "platform/processes.h"
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
    std::shared_ptr<Processes> processes;
    std::shared_ptr<Files> files;
    std::shared_ptr<Links> links;
    std::shared_ptr<OwnerAuthentication> authentication;
    /// Moves a path to the Trash and drops the findings under it; else why not. Main thread.
    std::function<std::optional<std::string>(const std::string&)> trashPath;
    HomebrewPlaces places = {};
};

/// The whole folder of a root's formula in its Cellar, all versions: ".../Cellar/wget" of
/// ".../Cellar/wget/1.21.4/bin/wget". Absent for a root that lies in no Cellar.
[[nodiscard]] std::optional<std::string> oldIntelCopyPath(std::string_view root);

/// The reinstalls of one window, one at a time. Main thread only. What comes after its end changes
/// nothing any more; a reinstall that is under way then goes on to its own end.
class Reinstall {
public:
    /// The window outlives it.
    Reinstall(ReinstallServices services, ReinstallWindow& window);
    ~Reinstall();
    Reinstall(const Reinstall&) = delete;
    Reinstall& operator=(const Reinstall&) = delete;

    /// Returns at once; the log tells the rest. `root` becomes an updated one when the formula has
    /// been reinstalled. Does nothing while another reinstall runs.
    void startReinstall(const std::string& formula, const std::string& root);
    /// Asks the owner first, where the machine has a way to; no confirmation, no change.
    void confirmRemoveOldCopy(const std::string& path);
    /// The user has turned to something else while the owner was being asked.
    void withdraw() { question_.withdraw(); }
    /// Moves the formula's folder to the Trash, unless it is the native Homebrew's, then removes
    /// the links that led into it. The log tells how it went. Blocking.
    void removeOldIntelCopy(const std::string& path);

private:
    struct Handle;
    class Output;

    [[nodiscard]] ProcessStart command(const std::string& formula) const;
    void ended(int status, const std::string& root);

    ReinstallServices services_;
    ReinstallWindow& window_;
    bool running_ = false;
    std::shared_ptr<Handle> handle_;
    OwnerQuestion question_;
};

}  // namespace vestigo
