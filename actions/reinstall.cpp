#include "actions/reinstall.h"

#include <deque>
#include <mutex>
#include <utility>

#include "actions/dead_links.h"
#include "engine/removal_guard.h"
#include "engine/scan_rules.h"
#include "engine/text.h"

namespace vestigo {
namespace {

/// Whether moving the item would take the native Homebrew, or something in it, whatever links lead
/// there from the item's path.
bool takesNative(const std::string& path, const std::string& installation, Files& files) {
    const auto takes = [](const std::string& item, const std::string& place) {
        return liesUnder(item, place) || liesUnder(place, item);
    };
    const auto item = realPlace(path, files).value_or(path);
    return takes(path, installation) ||
           takes(item, files.resolved(installation).value_or(installation));
}

}  // namespace

/// Goes with the reinstall; what comes later finds out by that. Main thread only, but to see
/// whether it still is.
struct Reinstall::Handle {
    Reinstall* reinstall;
};

/// Brings what a process prints to the log, and its end after that. The process may print faster
/// than the log takes it in: what piles up is kept in portions, one of which each job delivers.
class Reinstall::Output : public std::enable_shared_from_this<Output> {
public:
    Output(std::shared_ptr<MainQueue> main, std::weak_ptr<Handle> handle, std::string root)
        : main_(std::move(main)), handle_(std::move(handle)), root_(std::move(root)) {}

    /// A chunk that is no text by itself is left out.
    void add(std::string_view chunk) {
        if (chunk.empty() || !isUtf8(chunk) || handle_.expired()) return;
        const std::lock_guard lock(mutex_);
        if (portions_.empty() || portions_.back().size() + chunk.size() > portionSize)
            portions_.emplace_back();
        portions_.back() += chunk;
        schedule();
    }

    void end(int status) {
        const std::lock_guard lock(mutex_);
        status_ = status;
        schedule();
    }

private:
    static constexpr std::size_t portionSize = 262144;

    /// With the lock held.
    void schedule() {
        if (std::exchange(scheduled_, true)) return;
        main_->post([self = shared_from_this()] { self->deliver(); });
    }

    /// On the main thread.
    void deliver() {
        const auto handle = handle_.lock();
        if (!handle) return;
        std::string text;
        std::optional<int> status;
        {
            const std::lock_guard lock(mutex_);
            scheduled_ = false;
            if (portions_.empty()) {
                status = std::exchange(status_, std::nullopt);
            } else {
                text = std::move(portions_.front());
                portions_.pop_front();
                if (!portions_.empty() || status_) schedule();
            }
        }
        if (!text.empty()) handle->reinstall->window_.appendToUpdateLog(text);
        if (status) handle->reinstall->ended(*status, root_);
    }

    std::shared_ptr<MainQueue> main_;
    std::weak_ptr<Handle> handle_;
    std::string root_;
    std::mutex mutex_;
    std::deque<std::string> portions_;
    std::optional<int> status_;
    bool scheduled_ = false;
};

Reinstall::Reinstall(ReinstallServices services, ReinstallWindow& window)
    : services_(std::move(services)),
      window_(window),
      handle_(std::make_shared<Handle>(Handle{this})),
      question_(services_.main, services_.authentication) {}

Reinstall::~Reinstall() = default;

void Reinstall::startReinstall(const std::string& formula, const std::string& root) {
    if (running_) return;
    const auto& places = services_.places;
    if (!services_.files->exists(places.brew)) {
        window_.setUpdateLog("arm64 Homebrew not found at " + places.installation +
                             ".\nInstall Homebrew from https://brew.sh first, then try again.");
        return;
    }
    running_ = true;
    window_.setUpdating(true);
    window_.setUpdateLog("$ arch -arm64 brew reinstall " + formula + "\n");
    const auto output = std::make_shared<Output>(services_.main, handle_, root);
    const auto error = services_.processes->start(
        command(formula), [output](std::string_view chunk) { output->add(chunk); },
        [output](int status) { output->end(status); });
    if (!error) return;
    running_ = false;
    window_.setUpdating(false);
    window_.appendToUpdateLog("\nFailed to launch: " + *error);
}

ProcessStart Reinstall::command(const std::string& formula) const {
    const auto& places = services_.places;
    return {.program = places.launcher,
            .arguments = {"-arm64", places.brew, "reinstall", formula},
            .environment = {{"PATH", places.searchPath}}};
}

void Reinstall::ended(int status, const std::string& root) {
    running_ = false;
    window_.setUpdating(false);
    window_.appendToUpdateLog("\nFinished. Exit code " + std::to_string(status) + ".");
    if (status == 0) window_.addUpdatedID(root);
}

void Reinstall::confirmRemoveOldCopy(const std::string& path) {
    question_.ask("confirm removing the old Intel build",
                  [this, path] { removeOldIntelCopy(path); });
}

void Reinstall::removeOldIntelCopy(const std::string& path) {
    const auto message = takesNative(path, services_.places.installation, *services_.files)
                             ? leftInPlace(path, "belongs to the arm64 Homebrew")
                             : services_.trashPath(path);
    if (message) {
        window_.appendToUpdateLog("\nTrash failed: " + *message);
        return;
    }
    const auto count = cleanDeadSymlinks(path, *services_.links, *services_.files);
    window_.appendToUpdateLog("\nMoved " + path + " to Trash.");
    window_.appendToUpdateLog("\nCleaned " + std::to_string(count) + " dead symlink" +
                              (count == 1 ? "" : "s") + ". You can close this.");
}

std::optional<std::string> oldIntelCopyPath(std::string_view root) {
    constexpr std::string_view marker = "/Cellar/";
    const auto found = root.find(marker);
    if (found == std::string_view::npos) return std::nullopt;
    const auto begin = found + marker.size();
    const auto name = root.find_first_not_of('/', begin);
    if (name == std::string_view::npos) return std::nullopt;
    const auto end = root.find('/', name);
    return std::string(root.substr(0, begin)).append(root.substr(name, end - name));
}

}  // namespace vestigo
