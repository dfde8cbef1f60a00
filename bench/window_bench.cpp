// Measures the real window with results of a given size. bench/run starts the program once for each
// mode and prints the table.

#include <QApplication>
#include <QElapsedTimer>
#include <QScrollBar>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <sys/stat.h>

#include "app/window_services.h"
#include "persist/preference_keys.h"
#include "persist/scan_file_writer.h"
#include "platform/posix/posix_files.h"
#include "platform/qt/qt_desktop.h"
#include "platform/qt/qt_preferences.h"
#include "ui/main_window.h"
#include "ui/widgets/log_view.h"

namespace vestigo {
namespace {

/// Services of a window that keeps all its files in a folder of the benchmark.
PlatformServices servicesIn(const std::string& folder) {
    auto platform = systemPlatformServices();
    platform.folders.applicationSupport = folder;
    platform.folders.caches = folder;
    platform.preferences = QtPreferences::inFile(folder + "/settings.ini");
    platform.preferences->setBoolean(preference::acceptedDisclaimer, true);
    platform.openPreviousPreferences = {};
    return platform;
}

template <class Condition>
void waitFor(Condition condition) {
    while (!condition()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
}

/// Waits until the saved scan has been read and is in the table.
void waitForSavedScan(MainWindow& window) {
    const auto& table = *window.findChild<ResultsView*>()->model();
    waitFor([&window, &table] {
        auto& content = window.content();
        return !content.scanner().loading() &&
               static_cast<std::size_t>(table.rowCount()) == content.visibleRows().rows.size();
    });
}

/// Writes a saved scan with this many groups and hits into `folder`. Returns the exit status.
int makeRecord(const std::string& folder, long groups, long hits) {
    ScanFile record{
        .version = scanFileVersion, .roots = {"/"}, .hits = {}, .signatures = SignatureMap{}};
    record.date = 800000000;
    constexpr const char* folders[] = {"/Applications/", "/Library/Audio/Plug-Ins/VST/",
                                       "/usr/local/Cellar/formula"};
    constexpr const char* endings[] = {".app", ".vst", "/1.0/bin"};
    for (long i = 0; i < hits; ++i) {
        const long group = i % groups;
        const auto kind = static_cast<std::size_t>(group % 3);
        const auto name = "Some Maker's Thing " + std::to_string(group * 7919 % groups);
        const auto root = folders[kind] + name + endings[kind];
        record.hits.push_back(std::make_shared<const BinaryHit>(
            BinaryHit{root + "/Contents/Frameworks/library" + std::to_string(i),
                      {i % 7 == 0 ? "i386" : "x86_64"},
                      4096 + i,
                      700000000.25,
                      static_cast<double>(600000000 + i * 31 % 9999999)}));
        record.signatures->try_emplace(root, SignInfo{false, "Example Maker, Inc."});
    }
    PosixFiles files;
    files.createFolders(folder + "/Vestigo");
    const auto text = encodeScanFile(record);
    return text && files.replace(folder + "/Vestigo/last-scan.json", *text, Access::ownerOnly) ? 0
                                                                                               : 1;
}

double residentMegabytes() {
    std::ifstream statm("/proc/self/statm");
    double total = 0;
    double resident = 0;
    statm >> total >> resident;
    return resident * 4096 / 1e6;
}

/// Calls back once, after the table has been painted for the first time.
class FirstPaint : public QObject {
public:
    FirstPaint(QWidget& widget, std::function<void()> then) : then_(std::move(then)) {
        widget.installEventFilter(this);
    }
    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
        if (event->type() == QEvent::Paint && then_) {
            QMetaObject::invokeMethod(this, std::exchange(then_, nullptr), Qt::QueuedConnection);
        }
        return false;
    }

private:
    std::function<void()> then_;
};

/// `started` is the time by CLOCK_MONOTONIC, in nanoseconds, at which the process was started.
int launch(const std::string& folder, long started) {
    const auto services = windowServices(servicesIn(folder));
    MainWindow window(services, "");
    bool painted = false;
    const auto sinceStart = [started] {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return static_cast<double>(now.tv_sec * 1000000000L + now.tv_nsec - started) / 1e6;
    };
    const FirstPaint first(*window.findChild<ResultsView*>()->viewport(), [&] {
        std::printf("painted_ms %.0f\n", sinceStart());
        painted = true;
    });
    window.setAttribute(Qt::WA_DeleteOnClose, false);
    window.show();
    waitFor([&painted] { return painted; });
    waitForSavedScan(window);
    window.findChild<ResultsView*>()->viewport()->repaint();
    std::printf("rows_ms %.0f\n", sinceStart());
    QElapsedTimer idle;
    idle.start();
    QTimer wake;
    wake.start(50);
    waitFor([&idle] { return idle.elapsed() > 1500; });
    std::printf("idle_mb %.0f\n", residentMegabytes());
    return 0;
}

double medianOf(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

double millisecondsFor(const std::function<void()>& work) {
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

/// Scrolls, clicks headers and selects rows, and paints after each step.
int use(const std::string& folder) {
    const auto services = windowServices(servicesIn(folder));
    MainWindow window(services, "");
    window.setAttribute(Qt::WA_DeleteOnClose, false);
    window.show();
    auto& results = *window.findChild<ResultsView*>();
    waitForSavedScan(window);
    QCoreApplication::processEvents();
    auto& bar = *results.verticalScrollBar();
    std::vector<double> frames;
    for (int step = 0; step < 400; ++step) {
        frames.push_back(millisecondsFor([&] {
            bar.setValue((bar.maximum() / 401) * step + step * 37 % 200);
            results.viewport()->repaint();
        }));
    }
    std::printf("scroll_ms %.2f\nscroll_worst_ms %.2f\n", medianOf(frames),
                *std::ranges::max_element(frames));
    std::vector<double> clicks;
    for (const auto key : {SortKey::root, SortKey::name, SortKey::cpuSummary, SortKey::root,
                           SortKey::created, SortKey::fixRank, SortKey::categoryName}) {
        clicks.push_back(millisecondsFor([&] {
            window.content().sortBy(key);
            QCoreApplication::processEvents();
            results.viewport()->repaint();
        }));
    }
    std::printf("sort_ms %.1f\nsort_worst_ms %.1f\n", medianOf(clicks),
                *std::ranges::max_element(clicks));
    std::printf("select_all_ms %.1f\n", millisecondsFor([&] {
                    results.selectAll();
                    QCoreApplication::processEvents();
                    results.viewport()->repaint();
                }));
    std::printf("sort_all_selected_ms %.1f\n", millisecondsFor([&] {
                    window.content().sortBy(SortKey::name);
                    QCoreApplication::processEvents();
                    results.viewport()->repaint();
                }));
    return 0;
}

/// Posts events to the main thread one after another and records how long each waited: input of the
/// user would have waited as long.
class Heartbeat {
public:
    explicit Heartbeat(QObject& main) : main_(main), thread_([this] { beat(); }) {}
    ~Heartbeat() {
        ended_ = true;
        thread_.join();
    }
    Heartbeat(const Heartbeat&) = delete;
    Heartbeat& operator=(const Heartbeat&) = delete;

    /// In milliseconds, the longest first.
    [[nodiscard]] std::vector<double> waits() {
        const std::lock_guard lock(mutex_);
        auto sorted = waits_;
        std::ranges::sort(sorted, std::greater());
        return sorted;
    }

private:
    void beat() {
        while (!ended_) {
            const auto answered = std::make_shared<std::atomic<bool>>(false);
            QElapsedTimer asked;
            asked.start();
            QMetaObject::invokeMethod(&main_, [answered] { *answered = true; });
            while (!*answered && !ended_)
                std::this_thread::sleep_for(std::chrono::microseconds(50));
            const std::lock_guard lock(mutex_);
            waits_.push_back(static_cast<double>(asked.nsecsElapsed()) / 1e6);
        }
    }

    QObject& main_;
    std::atomic<bool> ended_ = false;
    std::mutex mutex_;
    std::vector<double> waits_;
    std::thread thread_;
};

/// Measures from the start of a scan to the end of its signature pass.
int scan(const std::string& folder, const std::string& tree) {
    const auto services = windowServices(servicesIn(folder));
    MainWindow window(services, "");
    window.setAttribute(Qt::WA_DeleteOnClose, false);
    window.show();
    QCoreApplication::processEvents();
    auto& scanner = window.content().scanner();
    window.content().chooseFolder(tree);
    Heartbeat heartbeat(window);
    QElapsedTimer whole;
    whole.start();
    window.content().scanPressed();
    waitFor([&scanner] { return !scanner.walking() && scanner.signaturePasses() == 0; });
    const auto waits = heartbeat.waits();
    std::printf("hits %zu\ngroups %zu\nscan_ms %lld\nwaits %zu\nlongest_ms %.1f\nsecond_ms %.1f\n",
                scanner.allHits().size(), scanner.groups().size(),
                static_cast<long long>(whole.elapsed()), waits.size(), waits[0], waits[1]);
    return 0;
}

double processorMilliseconds() {
    return static_cast<double>(std::clock()) * 1e3 / CLOCKS_PER_SEC;
}

/// Measures a scan by a window that has been open for a while. Before the scan it prints "ready"
/// and waits for a line, so that the file cache can be emptied while program and saved scan are in
/// memory.
int rescan(const std::string& folder, const std::string& tree) {
    auto services = windowServices(servicesIn(folder));
    // The programs that this is compared with run at normal priority too.
    services.scanner.priority = Priority::normal;
    MainWindow window(services, "");
    window.setAttribute(Qt::WA_DeleteOnClose, false);
    window.show();
    waitForSavedScan(window);
    auto& scanner = window.content().scanner();
    waitFor([&scanner] { return scanner.signaturePasses() == 0; });
    window.content().chooseFolder(tree);
    std::puts("ready");
    std::fflush(stdout);
    if (std::getchar() == EOF) return 1;
    const double before = processorMilliseconds();
    const double took = millisecondsFor([&] {
        window.content().scanPressed();
        waitFor([&scanner] { return !scanner.walking(); });
    });
    std::printf("scan_ms %.1f\ncpu_ms %.1f\nfiles %lld\nhits %zu\n", took,
                processorMilliseconds() - before, static_cast<long long>(scanner.scannedCount()),
                scanner.allHits().size());
    return 0;
}

/// Starts a program that prints 100 MB in the place of Homebrew.
bool makeTalkativeProgram(const std::string& path) {
    std::ofstream stream(path);
    stream << "#!/bin/sh\nyes '==> Pouring a line of text as long as most of them are' |"
              " head -c 100000000\n";
    stream.close();
    return stream.good() && chmod(path.c_str(), S_IRWXU) == 0;
}

/// Measures from the start of a reinstall until its whole log is shown.
int reinstall(const std::string& folder) {
    auto services = windowServices(servicesIn(folder));
    services.homebrew.brew = services.homebrew.launcher = folder + "/brew";
    if (!makeTalkativeProgram(services.homebrew.brew)) return 1;
    MainWindow window(services, "");
    window.setAttribute(Qt::WA_DeleteOnClose, false);
    window.show();
    waitForSavedScan(window);
    auto& content = window.content();
    const double before = residentMegabytes();
    content.requestReinstall(*content.visibleRows().rows.front());
    QCoreApplication::processEvents();
    const auto& view = *window.findChild<LogView*>();
    Heartbeat heartbeat(window);
    QElapsedTimer whole;
    whole.start();
    content.startReinstall();
    waitFor([&] { return !content.updating(); });
    const auto ended = whole.elapsed();
    const auto size = content.updateLog().size();
    waitFor([&] { return view.isComplete(); });
    const auto waits = heartbeat.waits();
    std::printf("log_mb %.1f\nended_ms %lld\nshown_ms %lld\nlongest_ms %.1f\nsecond_ms %.1f\n",
                static_cast<double>(size) / 1e6, static_cast<long long>(ended),
                static_cast<long long>(whole.elapsed()), waits[0], waits[1]);
    std::printf("grown_mb %.0f\n", residentMegabytes() - before);
    return 0;
}

/// Counts the tasks that have not ended.
class CountedTasks : public BackgroundTasks {
public:
    explicit CountedTasks(std::shared_ptr<BackgroundTasks> real) : real_(std::move(real)) {}
    void run(Priority priority, Job job) override {
        ++*running_;
        real_->run(priority, [job = std::move(job), running = running_] {
            job();
            --*running;
        });
    }
    [[nodiscard]] bool busy() const { return *running_ > 0; }

private:
    std::shared_ptr<BackgroundTasks> real_;
    std::shared_ptr<std::atomic<int>> running_ = std::make_shared<std::atomic<int>>(0);
};

/// Measures while the confirmation is open and a large bundle is being checked. Removes nothing.
int look(const std::string& folder, const std::string& bundle) {
    auto services = windowServices(servicesIn(folder));
    const auto tasks = std::make_shared<CountedTasks>(services.scanner.background);
    services.scanner.background = tasks;
    MainWindow window(services, "");
    window.setAttribute(Qt::WA_DeleteOnClose, false);
    window.show();
    auto& content = window.content();
    content.scanner().adopt(
        {.version = scanFileVersion,
         .roots = {},
         .hits = {std::make_shared<BinaryHit>(BinaryHit{bundle + "/tool", {"x86_64"}})},
         .signatures = SignatureMap()});
    content.scanner().regroup();
    QCoreApplication::processEvents();
    Heartbeat heartbeat(window);
    QElapsedTimer whole;
    whole.start();
    content.requestDeleteOfRow(*content.groupWithRoot(bundle));
    waitFor([&content] { return !content.plannedGroups().empty(); });
    waitFor([&tasks] { return !tasks->busy(); });
    const auto looked = whole.elapsed();
    content.cancelDelete();
    QCoreApplication::processEvents();
    const auto waits = heartbeat.waits();
    std::printf("look_ms %lld\nlongest_ms %.1f\nsecond_ms %.1f\n", static_cast<long long>(looked),
                waits[0], waits[1]);
    return 0;
}

int run(const std::vector<std::string>& words) {
    const auto count = words.size();
    if (count == 4 && words[0] == "record") {
        return makeRecord(words[1], std::stol(words[2]), std::stol(words[3]));
    }
    if (count == 3 && words[0] == "launch") return launch(words[1], std::stol(words[2]));
    if (count == 2 && words[0] == "use") return use(words[1]);
    if (count == 2 && words[0] == "reinstall") return reinstall(words[1]);
    if (count == 3 && words[0] == "scan") return scan(words[1], words[2]);
    if (count == 3 && words[0] == "rescan") return rescan(words[1], words[2]);
    if (count == 3 && words[0] == "look") return look(words[1], words[2]);
    std::fputs(
        "usage: window-bench record FOLDER GROUPS HITS | launch FOLDER NANOSECONDS\n"
        "       | use FOLDER | reinstall FOLDER | scan FOLDER TREE\n"
        "       | rescan FOLDER TREE | look FOLDER BUNDLE\n",
        stderr);
    return 2;
}

}  // namespace
}  // namespace vestigo

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    return vestigo::run({argv + 1, argv + argc});
}
