#include "app/window_services.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <functional>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "actions/administrator_cleanup.h"
#include "persist/file_memory_table.h"
#include "persist/preference_keys.h"
#include "persist/scan_cache.h"
#include "persist/signature_inspector.h"
#include "platform/clock.h"
#include "platform/qt/qt_desktop.h"
#include "platform/qt/qt_main_queue.h"
#include "platform/qt/qt_preferences.h"
#include "platform/system.h"

namespace vestigo {
namespace {

std::vector<std::string> launcherArguments(const std::string& scriptPath) {
    const auto arguments = osascriptArguments(scriptPath);
    return {arguments.begin(), arguments.end()};
}

/// Keeps the memory in one file for all windows. Returns an empty function if there is no cache
/// folder.
std::function<std::unique_ptr<FileMemory>()> memoryOfOtherFiles(std::shared_ptr<Files> files,
                                                                const std::string& caches) {
    if (caches.empty()) return {};
    return [files = std::move(files), folder = caches + "/Vestigo"] {
        files->createFolders(folder);
        return std::make_unique<FileMemoryTable>(files, folder + "/other-files");
    };
}

}  // namespace

std::function<void()> outOfMemoryReport(std::shared_ptr<NotificationCenter> notifications) {
    return [notifications = std::move(notifications)] {
        auto* const application = QCoreApplication::instance();
        if (!application) return;
        try {
            QMetaObject::invokeMethod(
                application, [notifications] { notifications->post(notification::outOfMemory); },
                Qt::QueuedConnection);
        } catch (const std::bad_alloc&) {
            // There is not even memory for the report. The failed event is given up all the same.
        }
    };
}

PlatformServices systemPlatformServices() {
    const auto notifications = std::make_shared<NotificationCenter>();
    const auto folders = systemFolders();
    const auto files = systemFiles();
    // It gets tasks of its own. If it shared them, one of those tasks could hold the last reference
    // to it, and its destructor would wait for the task that it runs on.
    const auto processes = systemProcesses(systemTasks());
    return {
        .folders = folders,
        .preferences = QtPreferences::own(),
        .openPreviousPreferences = QtPreferences::previousProduct,
        .reader = systemDirectoryReader(),
        .signing = systemCodeSigning(),
        .desktop = std::make_shared<QtDesktop>(),
        .files = files,
        .bundles = systemBundles(),
        .trash = systemTrash(folders),
        .cleanupTrash = systemCleanupTrash(folders, files),
        .links = systemLinks(),
        .processes = systemLastingProcesses(systemTasks()),
        .authentication = systemOwnerAuthentication(processes),
        .administrator = systemAdministrator(processes, launcherArguments),
        .tasks = systemTasks(outOfMemoryReport(notifications)),
        .notifications = notifications,
    };
}

ContentServices windowServices(PlatformServices platform) {
    const auto cache = std::make_shared<ScanCache>(platform.files, platform.folders);
    const auto store = std::make_shared<BackgroundScanStore>(cache, platform.tasks);
    ContentServices services;
    services.scanner = {
        .main = std::make_shared<QtMainQueue>(),
        .background = platform.tasks,
        .reader = std::move(platform.reader),
        .store = store,
        .inspect = [signing = std::move(platform.signing)](
                       const std::string& root) { return inspectSignature(*signing, root); },
        .migrate = [own = platform.preferences,
                    openPrevious = std::move(platform.openPreviousPreferences),
                    cache] { migrateFromPreviousProduct(*own, openPrevious, *cache); },
        .now = secondsSince2001,
        .priority = Priority::utility,
        .trash = std::move(platform.trash),
        .files = platform.files,
        .memory = memoryOfOtherFiles(platform.files, platform.folders.caches),
        .makeCheckMemory = [] { return std::make_unique<FileMemoryTable>(); },
        .readSavedScan = store->reader(),
    };
    services.desktop = std::move(platform.desktop);
    services.files = platform.files;
    services.exportFiles = systemFiles();
    services.settings = std::make_shared<Settings>(std::move(platform.preferences));
    services.notifications = std::move(platform.notifications);
    services.places.home = platform.folders.home;
    // QCoreApplication::quit would ask every window to close first, and a sheet may refuse.
    services.terminate = [] { QCoreApplication::exit(0); };
    services.bundles = std::move(platform.bundles);
    services.authentication = std::move(platform.authentication);
    services.cleanup = std::make_shared<AdministratorCleanup>(AdministratorCleanupServices{
        .administrator = std::move(platform.administrator),
        .files = std::move(platform.files),
        .trash = std::move(platform.cleanupTrash),
        .temporary = platform.folders.temporary,
    });
    services.processes = std::move(platform.processes);
    services.links = std::move(platform.links);
    services.reinstallFolder = platform.folders.applicationSupport + "/Vestigo/reinstalls";
    return services;
}

}  // namespace vestigo
