// vestigo-pictures drives the real window on the demonstration disk and saves pictures of it. It
// needs a screen that nobody else draws on; "./run pictures" starts a virtual one.

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDialog>
#include <QDir>
#include <QElapsedTimer>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QTimer>
#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "app/appearance.h"
#include "app/command_line.h"
#include "app/vestigo_app.h"
#include "demo/demo_sandbox.h"
#include "ui/widgets/symbols.h"
#include "ui/widgets/theme.h"

namespace vestigo {
namespace {

constexpr auto programName = "vestigo-pictures";

constexpr auto helpText =
    R"(Usage: vestigo-pictures FOLDER

Drives the window over the demonstration disk and saves pictures of its states in
FOLDER. The exit status is 1 when a picture could not be taken, or would not have
been of the state that it is named for.

  -h, --help     print this text
  -V, --version  print the version
)";

/// The scan pauses here for its picture. It is one of the last smart folders, so most of the scan
/// is over by then.
constexpr auto heldFolder = "/opt";
/// The number of additional plain files, so that a scan of so small a disk has progress to show.
constexpr int extraFiles = 2400;

/// Pauses a scan in the middle, because it would otherwise end before a picture could be taken.
class HeldReader : public DirectoryReader {
public:
    explicit HeldReader(std::shared_ptr<DirectoryReader> real) : real_(std::move(real)) {}

    std::unique_ptr<Folder> open(const std::string& path) override {
        if (path == heldFolder) {
            std::unique_lock lock(mutex_);
            released_.wait(lock, [this] { return !holding_; });
        }
        return real_->open(path);
    }
    unsigned maxOpenFolders() const override { return real_->maxOpenFolders(); }
    void release() {
        const std::lock_guard lock(mutex_);
        holding_ = false;
        released_.notify_all();
    }

private:
    std::shared_ptr<DirectoryReader> real_;
    std::mutex mutex_;
    std::condition_variable released_;
    bool holding_ = true;
};

bool addExtraFiles(const std::string& disk) {
    const std::filesystem::path folder =
        disk + "/Applications/Sound Studio.app/Contents/Resources/Samples";
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    bool written = !error;
    for (int number = 1; number <= extraFiles && written; ++number) {
        std::ofstream file(folder / ("Sample " + std::to_string(number)));
        file << "no program";
        written = file.flush().good();
    }
    return written;
}

/// Handles events until the condition holds, at most ten seconds. Returns whether it holds.
template <class Condition>
bool waitFor(Condition condition) {
    constexpr qint64 mostMilliseconds = 10000;
    QElapsedTimer waited;
    waited.start();
    while (!condition() && waited.elapsed() < mostMilliseconds) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    }
    return condition();
}

/// Gives the window time to be painted.
void settle() {
    QElapsedTimer waited;
    waited.start();
    waitFor([&waited] { return waited.elapsed() > 400; });
}

/// Takes pictures, each of one state of the window. A picture that does not show its state counts
/// as failed.
class Photographer {
public:
    using State = std::function<bool()>;

    Photographer(MainWindow& window, QDir folder) : window_(window), folder_(std::move(folder)) {}

    [[nodiscard]] MainWindow& window() const { return window_; }
    [[nodiscard]] ContentView& content() const { return window_.content(); }

    /// From now on, pictures go into this subfolder.
    void useFolder(const QString& name) {
        subfolder_ = name + QLatin1Char('/');
        failed_ = !folder_.mkpath(name) || failed_;
    }

    /// Saves a picture of the screen around the window, with its menus and sheets. The state must
    /// hold before and after the picture is taken.
    void photograph(const QString& name, const State& state) {
        const bool reached = waitFor(state);
        settle();
        const auto area = window_.frameGeometry().adjusted(-margin, -margin, margin, margin);
        const auto picture =
            window_.screen()->grabWindow(0, area.x(), area.y(), area.width(), area.height());
        const auto path = folder_.filePath(subfolder_ + name + QStringLiteral(".png"));
        const bool whole = window_.screen()->geometry().contains(window_.frameGeometry());
        if (!reached || !state()) {
            fail(path, "the window is not in the state that it is named for");
        } else if (!whole) {
            fail(path, "the window does not fit on the screen");
        } else if (!picture.save(path)) {
            fail(path, "it cannot be written");
        } else {
            std::printf("%s\n", qPrintable(path));
        }
    }
    [[nodiscard]] bool failed() const { return failed_; }

private:
    void fail(const QString& path, const char* reason) {
        failed_ = true;
        std::fprintf(stderr, "vestigo-pictures: no %s: %s\n", qPrintable(path), reason);
    }

    static constexpr int margin = 30;
    MainWindow& window_;
    QDir folder_;
    QString subfolder_;
    bool failed_ = false;
};

template <class Widget>
Widget& part(MainWindow& window, const char* name) {
    return *window.findChild<Widget*>(QLatin1String(name));
}

QDialog* openSheet(const MainWindow& window) {
    for (auto* const sheet : window.findChildren<QDialog*>()) {
        if (sheet->isVisible()) return sheet;
    }
    return nullptr;
}

/// Whether this sheet is open, at a place that the picture shows.
Photographer::State sheetIsOpen(MainWindow& window, const char* name) {
    return [&window, name] {
        const auto* const sheet = openSheet(window);
        return sheet && sheet->objectName() == QLatin1String(name) &&
               window.frameGeometry().intersects(sheet->frameGeometry());
    };
}

void photographChoices(Photographer& photographer, const char* name, const QString& picture) {
    auto& box = part<QComboBox>(photographer.window(), name);
    box.showPopup();
    photographer.photograph(picture, [&box] { return box.view()->isVisible(); });
    box.hidePopup();
}

void photographRowMenu(Photographer& photographer) {
    auto& results = part<ResultsView>(photographer.window(), "results");
    const auto at = results.visualRect(results.model()->index(2, 8)).center();
    QTimer::singleShot(0, &results, [&photographer] {
        const auto isOpen = [] { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); };
        photographer.photograph(QStringLiteral("row-menu"), isOpen);
        if (auto* const menu = isOpen()) menu->close();
    });
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, results.viewport()->mapToGlobal(at));
    QApplication::sendEvent(results.viewport(), &event);
    waitFor([] { return QApplication::activePopupWidget() == nullptr; });
}

/// Whether the results are complete, and are shown with this text size in this appearance.
Photographer::State resultsAreShown(Photographer& photographer, int fontDelta, bool dark) {
    return [&photographer, fontDelta, dark] {
        const auto& content = photographer.content();
        const auto& scanner = content.scanner();
        const auto& results = part<ResultsView>(photographer.window(), "results");
        const bool complete = !scanner.scanning() && scanner.lastScanDate() &&
                              scanner.signaturePasses() == 0 && results.model()->rowCount() > 0;
        return complete && content.fontDelta() == fontDelta &&
               results.font().pixelSize() == static_cast<int>(content.tableFontSize()) &&
               isDark(photographer.window().palette()) == dark && !openSheet(photographer.window());
    };
}

void photographScan(Photographer& photographer, HeldReader& reader) {
    auto& window = photographer.window();
    auto& content = window.content();
    auto& results = part<ResultsView>(window, "results");
    photographer.photograph(QStringLiteral("empty"), [&] {
        return !content.scanner().scanning() && results.model()->rowCount() == 0 &&
               !openSheet(window);
    });
    part<QPushButton>(window, "scan").click();
    // There are no rows yet, because the first chunk of hits comes with the two thousandth.
    photographer.photograph(QStringLiteral("scanning"), [&] {
        return content.scanner().walking() && content.scanner().scannedCount() > 0 &&
               part<QPushButton>(window, "stop").isVisible() &&
               part<QLabel>(window, "currentPath").isVisible() &&
               !part<QLabel>(window, "currentPath").text().isEmpty();
    });
    reader.release();
    const auto complete = resultsAreShown(photographer, 0, false);
    if (!waitFor(complete))
        return photographer.photograph(QStringLiteral("results-light"), complete);
    content.copyPath(content.visibleRows().rows.front()->root, true);
    content.setSelection({content.visibleRows().rows[1]->root});
    photographer.photograph(QStringLiteral("results-light"), complete);
}

const BundleGroup& groupNamed(ContentView& content, std::string_view name) {
    const auto visible = content.visibleRows();
    return **std::ranges::find(visible.rows, name, &BundleGroup::name);
}

void photographDelete(Photographer& photographer) {
    auto& content = photographer.content();
    content.requestDeleteOfRow(groupNamed(content, "Sound Studio.app"));
    const auto isOpen = sheetIsOpen(photographer.window(), "delete");
    photographer.photograph(QStringLiteral("delete"),
                            [&] { return isOpen() && !content.leftovers().empty(); });
    content.cancelDelete();
}

void photographReinstall(Photographer& photographer) {
    auto& content = photographer.content();
    const auto isOpen = sheetIsOpen(photographer.window(), "reinstall");
    content.requestReinstall(groupNamed(content, "wget"));
    content.startReinstall();
    photographer.photograph(QStringLiteral("reinstall-running"),
                            [&] { return isOpen() && content.updating(); });
    photographer.photograph(QStringLiteral("reinstall"), [&] {
        return isOpen() && !content.updating() && content.removableOldCopy().has_value();
    });
    content.closeReinstall();
}

void photographSheets(Photographer& photographer) {
    auto& content = photographer.content();
    auto& window = photographer.window();
    content.inspect(*content.visibleRows().rows.front());
    photographer.photograph(QStringLiteral("inspect"), sheetIsOpen(window, "inspect"));
    content.closeInspect();
    content.showHelpRequested();
    photographer.photograph(QStringLiteral("help"), sheetIsOpen(window, "help"));
    content.closeHelp();
    content.showAboutRequested();
    photographer.photograph(QStringLiteral("about"), sheetIsOpen(window, "about"));
    content.closeAbout();
    photographDelete(photographer);
    content.showAlert("Could not move 3 items to the Trash.");
    photographer.photograph(QStringLiteral("alert"), sheetIsOpen(window, "alert"));
    content.dismissAlert();
}

struct Named {
    const char* name;
    int value;
};
constexpr std::array textSizes = {Named{"small", 0}, Named{"medium", 4}, Named{"large", 8}};
constexpr std::array windowWidths = {880, 1360, 2560};

/// Photographs the table in one appearance, at every text size and window width.
void photographSizes(Photographer& photographer, bool dark) {
    auto& window = photographer.window();
    const auto before = window.size();
    for (const int width : windowWidths) {
        window.resize(width, before.height());
        for (const auto& size : textSizes) {
            photographer.content().setFontDelta(size.value);
            const auto isShown = resultsAreShown(photographer, size.value, dark);
            photographer.photograph(
                QStringLiteral("%1-%2-%3")
                    .arg(QString::number(width), QLatin1String(size.name),
                         dark ? QStringLiteral("dark") : QStringLiteral("light")),
                [&] { return isShown() && window.width() == width; });
        }
    }
    photographer.content().setFontDelta(0);
    window.resize(before);
}

void photographAppearance(Photographer& photographer, bool dark) {
    QApplication::setPalette(dark ? darkPalette() : QPalette());
    photographer.useFolder(QStringLiteral("sizes"));
    photographSizes(photographer, dark);
    photographer.useFolder(dark ? QStringLiteral("dark") : QStringLiteral("light"));
    photographSheets(photographer);
}

int photographPictures(const QDir& folder, const std::string& disk) {
    auto platform = demoPlatformServices(disk);
    const auto reader = std::make_shared<HeldReader>(platform.reader);
    platform.reader = reader;
    VestigoApp app(windowServices(std::move(platform)), nullptr, VESTIGO_VERSION);
    auto& window = app.openWindow();
    window.move(40, 40);
    Photographer photographer(window, folder);
    photographer.photograph(QStringLiteral("disclaimer"), sheetIsOpen(window, "disclaimer"));
    window.content().acceptDisclaimer();
    photographScan(photographer, *reader);
    photographChoices(photographer, "categoryFilter", QStringLiteral("category-filter"));
    photographChoices(photographer, "fixFilter", QStringLiteral("fix-filter"));
    photographRowMenu(photographer);
    photographAppearance(photographer, false);
    photographReinstall(photographer);
    photographAppearance(photographer, true);
    photographer.photograph(QStringLiteral("results-dark"), resultsAreShown(photographer, 0, true));
    reader->release();
    return photographer.failed() ? 1 : 0;
}

}  // namespace
}  // namespace vestigo

int main(int argc, char** argv) {
    using namespace vestigo;
    if (const auto status = answerCommandLine(argc, argv, programName, helpText)) return *status;
    const QApplication application(argc, argv);
    if (argc != 2 || !QDir().mkpath(QString::fromLocal8Bit(argv[1]))) {
        std::fputs(helpText, stderr);
        return 2;
    }
    QApplication::setWindowIcon(applicationIcon());
    const DemoSandbox sandbox;
    if (!sandbox.disk() || !addExtraFiles(*sandbox.disk())) {
        std::perror("vestigo-pictures: cannot make the demonstration disk");
        return 1;
    }
    return photographPictures(QDir(QString::fromLocal8Bit(argv[1])), *sandbox.disk());
}
