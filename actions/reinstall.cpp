// How a reinstall survives the window and the program.
//
// Homebrew runs in a session of its own, and its note (which formula, for which group), output and
// exit status are files in a folder; see platform/lasting_processes.h. Nothing that ends the
// program can therefore end an installation in the middle. A window only follows those files. When
// it closes, the run is free again, and the next window takes it over: it first says that the
// reinstall still runs, or how it has ended, or that this is unknown. A run is forgotten once its
// end has been reported.
//
// Output may arrive faster than the log can show it. `Output` collects it in portions under a
// mutex, on the thread that reads it, and posts one job at a time, which delivers one portion. So
// the main thread is never flooded with jobs, and the end is always reported after the last
// portion.
#include "actions/reinstall.h"

#include <deque>
#include <mutex>
#include <utility>

#include "actions/dead_links.h"
#include "engine/removal_guard.h"
#include "engine/scan_rules.h"
#include "engine/text.h"
#include "platform/paths.h"

namespace vestigo {
namespace {

/// Whether moving the item would move the native Homebrew or a part of it. Links in both paths are
/// resolved. True also if that cannot be found out.
bool wouldRemoveNative(const std::string& path, const std::string& installation, Files& files) {
    const auto takes = [](const std::string& item, const std::string& place) {
        return liesUnder(item, place) || liesUnder(place, item);
    };
    if (takes(path, installation)) return true;
    const auto item = realPlace(path, files);
    if (!item) return files.kind(path).has_value();
    const auto formula = "/" + std::string(nameOf(path));
    for (const auto& native :
         {installation, installation + "/Cellar", installation + "/Cellar" + formula}) {
        const auto place = files.resolved(native);
        if (place ? takes(*item, *place) : files.kind(native).has_value()) return true;
    }
    return false;
}

/// The most bytes of output that are shown of a reinstall that failed while no window followed it.
/// The end of its output may say why it failed.
constexpr std::size_t lastOutputSize = 1500;

std::string quoted(const std::string& formula) {
    return "“" + formula + "”";
}

std::string firstLine(const ReinstallTarget& target) {
    return "$ arch -arm64 brew reinstall " + target.formula + "\n";
}

std::string lastLine(std::optional<int> status) {
    return status ? "\nFinished. Exit code " + std::to_string(*status) + "."
                  : "\nEnded without an exit code.";
}

std::string stillRunsText(const ReinstallTarget& target) {
    return "Homebrew is still reinstalling " + quoted(target.formula) +
           ", which was started before this window was opened. Vestigo will say when that has "
           "ended.";
}

std::string endText(const ReinstallEnd& end, const std::string& lastOutput) {
    const auto which =
        "he reinstall of " + quoted(end.target.formula) + " that was started earlier";
    if (!end.status) {
        return "How t" + which +
               " ended is not known: the computer was restarted meanwhile, or something ended it "
               "by force. Run it again to be sure.";
    }
    auto text = "T" + which + " has ended with exit code " + std::to_string(*end.status) + ".";
    if (*end.status == 0) return text + " The arm64 build is installed.";
    const auto lastLetter = lastOutput.find_last_not_of('\n');
    if (lastLetter == lastOutput.npos) return text;
    return text + " The last that it wrote:\n\n" + lastOutput.substr(0, lastLetter + 1);
}

/// A formula is a file name, so it cannot contain this byte.
constexpr char betweenFields = '\0';

std::string encoded(const ReinstallTarget& target) {
    return target.formula + betweenFields + target.root;
}

ReinstallTarget decoded(const std::string& note) {
    const auto end = note.find(betweenFields);
    if (end == note.npos) return {note, {}};
    return {note.substr(0, end), note.substr(end + 1)};
}

/// Shortens the text to the last whole lines that fit into `lastOutputSize`.
void keepLastLines(std::string& text) {
    if (text.size() <= lastOutputSize) return;
    const auto line = text.find('\n', text.size() - lastOutputSize);
    text.erase(0, line == text.npos ? text.size() : line + 1);
}

}  // namespace

/// Brings the output of a process to the main thread, and its end after that. Shared by the thread
/// that follows the process and the jobs that are posted.
class Reinstall::Output : public std::enable_shared_from_this<Output> {
public:
    Output(std::shared_ptr<MainQueue> main, WeakRef<Reinstall> reinstall)
        : main_(std::move(main)), reinstall_(std::move(reinstall)) {}

    /// Adds a chunk of output. A chunk that is not valid UTF-8 by itself is left out.
    void add(std::string_view chunk) {
        if (chunk.empty() || !isUtf8(chunk) || reinstall_.expired()) return;
        const std::lock_guard lock(mutex_);
        if (portions_.empty() || portions_.back().size() + chunk.size() > portionSize)
            portions_.emplace_back();
        portions_.back() += chunk;
        schedule();
    }

    void end(std::optional<int> status) {
        const std::lock_guard lock(mutex_);
        end_ = End{status};
        schedule();
    }

private:
    struct End {
        std::optional<int> status;
    };
    static constexpr std::size_t portionSize = 262144;

    /// Posts a job unless one is waiting already. The caller holds the lock.
    void schedule() {
        if (std::exchange(scheduled_, true)) return;
        main_->post([self = shared_from_this()] { self->deliver(); });
    }

    /// Delivers one portion, or the end after the last one. Runs on the main thread.
    void deliver() {
        auto* const reinstall = reinstall_.get();
        if (!reinstall) return;
        std::string text;
        std::optional<End> end;
        {
            const std::lock_guard lock(mutex_);
            scheduled_ = false;
            if (portions_.empty()) {
                end = std::exchange(end_, std::nullopt);
            } else {
                text = std::move(portions_.front());
                portions_.pop_front();
                if (!portions_.empty() || end_) schedule();
            }
        }
        if (!text.empty()) reinstall->receiveOutput(std::move(text));
        if (end) reinstall->receiveEnd(end->status);
    }

    std::shared_ptr<MainQueue> main_;
    WeakRef<Reinstall> reinstall_;
    std::mutex mutex_;
    std::deque<std::string> portions_;
    std::optional<End> end_;
    bool scheduled_ = false;
};

Reinstall::Reinstall(ReinstallServices services)
    : services_(std::move(services)), question_(services_.main, services_.authentication) {}

Reinstall::~Reinstall() = default;

Subscription Reinstall::subscribe(std::function<void(const ReinstallReport&)> observer) {
    return observers_.subscribe(std::move(observer));
}

const ReinstallTarget* Reinstall::running() const {
    return current_ ? &current_->target : nullptr;
}

void Reinstall::log(std::string text) {
    observers_.notify({.log = std::move(text), .running = current_.has_value()});
}

void Reinstall::startReinstall(const ReinstallTarget& target) {
    if (current_) return;
    const auto& places = services_.places;
    if (!services_.files->exists(places.brew)) {
        observers_.notify({.log = "arm64 Homebrew not found at " + places.installation +
                                  ".\nInstall Homebrew from https://brew.sh first, then try again.",
                           .newLog = true});
        return;
    }
    observers_.notify({.log = firstLine(target), .newLog = true, .running = true});
    auto started =
        services_.processes->start(command(target.formula), services_.folder, encoded(target));
    if (const auto* const error = std::get_if<std::string>(&started)) {
        return log("\nFailed to launch: " + *error);
    }
    follow({target, std::get<std::unique_ptr<LastingRun>>(std::move(started)), false});
}

ProcessStart Reinstall::command(const std::string& formula) const {
    const auto& places = services_.places;
    return {.program = places.launcher,
            .arguments = {"-arm64", places.brew, "reinstall", formula},
            .environment = {{"PATH", places.searchPath}}};
}

void Reinstall::takeOver() {
    if (current_) return;
    auto run = services_.processes->takeOver(services_.folder);
    if (!run) return;
    const auto target = decoded(run->note());
    ReinstallReport report{.log = firstLine(target), .newLog = true, .running = true};
    if (run->running()) report.notice = stillRunsText(target);
    observers_.notify(report);
    follow({target, std::move(run), true});
}

void Reinstall::follow(Current current) {
    current_ = std::move(current);
    const auto output = std::make_shared<Output>(services_.main, anchor_.ref());
    current_->run->follow([output](std::string_view chunk) { output->add(chunk); },
                          [output](std::optional<int> status) { output->end(status); });
}

void Reinstall::receiveOutput(std::string text) {
    if (current_->takenOver) {
        current_->lastOutput += text;
        keepLastLines(current_->lastOutput);
    }
    log(std::move(text));
}

void Reinstall::receiveEnd(std::optional<int> status) {
    const auto finished = std::exchange(current_, std::nullopt);
    ReinstallReport report{.log = lastLine(status), .end = ReinstallEnd{finished->target, status}};
    if (finished->takenOver) report.notice = endText(*report.end, finished->lastOutput);
    observers_.notify(report);
    finished->run->forget();
    if (finished->takenOver) takeOver();
}

void Reinstall::confirmRemoveOldCopy(const std::string& path) {
    oldCopyChecks_ = services_.checks();
    oldCopyChecks_->add({path, services_.files->identity(path), CodeRule::noKeptGroup});
    question_.ask("confirm removing the old Intel build", [this, path] {
        oldCopyChecks_->whenIdle([this, path] { removeOldIntelCopy(path); });
    });
}

void Reinstall::withdraw() {
    question_.withdraw();
    oldCopyChecks_.reset();
}

void Reinstall::removeOldIntelCopy(const std::string& path) {
    const auto checks = std::move(oldCopyChecks_);
    const auto message = wouldRemoveNative(path, services_.places.installation, *services_.files)
                             ? leftInPlace(path, "belongs to the arm64 Homebrew")
                             : services_.trashPath(path, checks.get());
    if (message) return log("\nTrash failed: " + *message);
    const auto count = cleanDeadSymlinks(path, *services_.links, *services_.files);
    log("\nMoved " + path + " to Trash.");
    log("\nCleaned " + std::to_string(count) + " dead symlink" + (count == 1 ? "" : "s") +
        ". You can close this.");
}

std::string continuesText(const ReinstallTarget& target) {
    return "Homebrew goes on reinstalling " + quoted(target.formula) +
           " by itself. Vestigo will say how that ended when it is opened again.";
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
