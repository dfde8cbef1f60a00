// vestigo-pictures: drives the real window over the demonstration disk and saves what it looks
// like. Needs a screen of its own: ./run pictures brings one.

#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDir>
#include <QElapsedTimer>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "app/appearance.h"
#include "app/vestigo_app.h"
#include "demo/demo_sandbox.h"
#include "ui/widgets/symbols.h"

namespace vestigo {
namespace {

constexpr auto openingTime = std::chrono::milliseconds(30);

class DelayedFolder : public Folder {
public:
    explicit DelayedFolder(std::unique_ptr<Folder> real) : real_(std::move(real)) {}
    bool list(const std::function<bool(const FolderEntry&)>& visitor) override {
        return real_->list(visitor);
    }
    std::optional<FileAttributes> attributes(const char* name) override {
        return real_->attributes(name);
    }
    std::unique_ptr<HeaderFile> openFile(const char* name) override {
        return real_->openFile(name);
    }
    std::unique_ptr<Folder> openFolder(std::string_view path) override {
        std::this_thread::sleep_for(openingTime);
        return real_->openFolder(path);
    }

private:
    std::unique_ptr<Folder> real_;
};

/// Slow enough to be watched.
class DelayedReader : public DirectoryReader {
public:
    explicit DelayedReader(std::shared_ptr<DirectoryReader> real) : real_(std::move(real)) {}
    std::unique_ptr<Folder> open(const std::string& path) override {
        auto folder = real_->open(path);
        if (!folder) return nullptr;
        return std::make_unique<DelayedFolder>(std::move(folder));
    }
    unsigned maxOpenFolders() const override { return real_->maxOpenFolders(); }

private:
    std::shared_ptr<DirectoryReader> real_;
};

/// Handles events until the condition holds, at most some seconds.
template <class Condition>
bool waitFor(Condition condition) {
    constexpr qint64 patience = 10000;
    QElapsedTimer waited;
    waited.start();
    while (!condition() && waited.elapsed() < patience) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    }
    return condition();
}

/// Time to be painted.
void settle() {
    QElapsedTimer waited;
    waited.start();
    waitFor([&waited] { return waited.elapsed() > 400; });
}

class Photographer {
public:
    Photographer(MainWindow& window, QDir folder) : window_(window), folder_(std::move(folder)) {}

    /// The whole screen, with menus and sheets, cut to what is around the window.
    void take(const QString& name) {
        settle();
        const auto area = window_.frameGeometry().adjusted(-margin, -margin, margin, margin);
        const auto picture =
            window_.screen()->grabWindow(0, area.x(), area.y(), area.width(), area.height());
        const auto path = folder_.filePath(name + QStringLiteral(".png"));
        complete_ = picture.save(path) && complete_;
        std::printf("%s\n", qPrintable(path));
    }
    void expect(bool held) { complete_ = complete_ && held; }
    [[nodiscard]] bool complete() const { return complete_; }

private:
    static constexpr int margin = 30;
    MainWindow& window_;
    QDir folder_;
    bool complete_ = true;
};

template <class Widget>
Widget& part(MainWindow& window, const char* name) {
    return *window.findChild<Widget*>(QLatin1String(name));
}

void applyChoice(Photographer& photographer, MainWindow& window, const char* name,
                 const QString& picture) {
    auto& box = part<QComboBox>(window, name);
    box.showPopup();
    photographer.take(picture);
    box.hidePopup();
}

void photographRowMenu(Photographer& photographer, MainWindow& window) {
    auto& results = part<ResultsView>(window, "results");
    const auto at = results.visualRect(results.model()->index(2, 8)).center();
    QTimer::singleShot(0, &window, [&photographer] {
        photographer.take(QStringLiteral("row-menu"));
        if (auto* const menu = QApplication::activePopupWidget()) menu->close();
    });
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, results.viewport()->mapToGlobal(at));
    QApplication::sendEvent(results.viewport(), &event);
    waitFor([] { return QApplication::activePopupWidget() == nullptr; });
}

void photographScan(Photographer& photographer, MainWindow& window) {
    auto& scanner = window.content().scanner();
    photographer.take(QStringLiteral("empty"));
    part<QPushButton>(window, "scan").click();
    settle();
    photographer.take(QStringLiteral("scanning"));
    photographer.expect(
        waitFor([&scanner] { return !scanner.scanning() && scanner.signaturePasses() == 0; }));
    auto& content = window.content();
    content.copyPath(content.visibleRows().rows.front()->root, true);
    content.setSelection({content.visibleRows().rows[1]->root});
    photographer.take(QStringLiteral("results-light"));
}

const BundleGroup& groupNamed(ContentView& content, std::string_view name) {
    const auto visible = content.visibleRows();
    return **std::ranges::find(visible.rows, name, &BundleGroup::name);
}

void photographDelete(Photographer& photographer, ContentView& content) {
    content.requestDeleteOfRow(groupNamed(content, "Sound Studio.app"));
    photographer.take(QStringLiteral("delete"));
    content.cancelDelete();
}

void photographReinstall(Photographer& photographer, ContentView& content) {
    content.requestReinstall(groupNamed(content, "wget"));
    content.startReinstall();
    photographer.take(QStringLiteral("reinstall-running"));
    photographer.expect(waitFor([&content] { return content.removableOldCopy().has_value(); }));
    photographer.take(QStringLiteral("reinstall"));
    content.closeReinstall();
}

void photographSheets(Photographer& photographer, ContentView& content) {
    content.inspect(*content.visibleRows().rows.front());
    photographer.take(QStringLiteral("inspect"));
    content.closeInspect();
    content.showHelpRequested();
    photographer.take(QStringLiteral("help"));
    content.closeHelp();
    content.showAboutRequested();
    photographer.take(QStringLiteral("about"));
    content.closeAbout();
    photographDelete(photographer, content);
    content.showAlert("Could not move 3 items to the Trash.");
    photographer.take(QStringLiteral("alert"));
    content.dismissAlert();
}

void photographAppearances(Photographer& photographer, MainWindow& window) {
    auto& content = window.content();
    content.setFontDelta(8);
    photographer.take(QStringLiteral("results-large"));
    content.setFontDelta(4);
    photographer.take(QStringLiteral("results-medium"));
    content.setFontDelta(0);
    QApplication::setPalette(darkPalette());
    photographer.take(QStringLiteral("results-dark"));
    photographSheets(photographer, content);
    QApplication::setPalette(QPalette());
}

int photographPictures(const QDir& folder, const std::string& disk) {
    auto platform = demoPlatformServices(disk);
    platform.reader = std::make_shared<DelayedReader>(platform.reader);
    VestigoApp app(windowServices(std::move(platform)), nullptr, VESTIGO_VERSION);
    auto& window = app.openWindow();
    window.move(60, 60);
    Photographer photographer(window, folder);
    photographer.take(QStringLiteral("disclaimer"));
    window.content().acceptDisclaimer();
    photographScan(photographer, window);
    applyChoice(photographer, window, "categoryFilter", QStringLiteral("category-filter"));
    applyChoice(photographer, window, "fixFilter", QStringLiteral("fix-filter"));
    photographRowMenu(photographer, window);
    QDir(folder).mkdir(QStringLiteral("light"));
    Photographer light(window, QDir(folder.filePath(QStringLiteral("light"))));
    photographSheets(light, window.content());
    photographReinstall(light, window.content());
    QDir(folder).mkdir(QStringLiteral("dark"));
    Photographer dark(window, QDir(folder.filePath(QStringLiteral("dark"))));
    photographAppearances(dark, window);
    return photographer.complete() && light.complete() && dark.complete() ? 0 : 1;
}

}  // namespace
}  // namespace vestigo

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    if (argc != 2 || !QDir().mkpath(QString::fromLocal8Bit(argv[1]))) {
        std::fputs("usage: vestigo-pictures FOLDER\n", stderr);
        return 2;
    }
    QApplication::setWindowIcon(vestigo::applicationIcon());
    const vestigo::DemoSandbox sandbox;
    if (!sandbox.disk()) {
        std::perror("vestigo-pictures: cannot make the demonstration disk");
        return 1;
    }
    return vestigo::photographPictures(QDir(QString::fromLocal8Bit(argv[1])), *sandbox.disk());
}
