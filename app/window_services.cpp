#include "app/window_services.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <functional>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "actions/administrator_cleanup.h"
#include "actions/cleanup_script.h"
#include "persist/background_scan_store.h"
#include "persist/file_memory_table.h"
#include "persist/migration.h"
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

/// One file for all windows. Empty where there is no folder for it.
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
            // Not even the report can be sent. What failed is given up all the same.
        }
    };
}

Surroundings systemSurroundings() {
    const auto notifications = std::make_shared<NotificationCenter>();
    const auto folders = systemFolders();
    const auto files = systemFiles();
    // With tasks of its own: a task that runs a program may be the last to let go of this.
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

ContentServices windowServices(Surroundings surroundings) {
    const auto cache = std::make_shared<ScanCache>(surroundings.files, surroundings.folders);
    ContentServices services;
    services.scanner = {
        .main = std::make_shared<QtMainQueue>(),
        .background = surroundings.tasks,
        .reader = std::move(surroundings.reader),
        .store = std::make_shared<BackgroundScanStore>(cache, surroundings.tasks),
        .inspect = [signing = std::move(surroundings.signing)](
                       const std::string& root) { return inspectSignature(*signing, root); },
        .migrate = [own = surroundings.preferences,
                    openPrevious = std::move(surroundings.openPreviousPreferences),
                    cache] { migrateFromPreviousProduct(*own, openPrevious, *cache); },
        .now = secondsSince2001,
        .priority = Priority::utility,
        .trash = std::move(surroundings.trash),
        .files = surroundings.files,
        .memory = memoryOfOtherFiles(surroundings.files, surroundings.folders.caches),
        .makeLookMemory = [] { return std::make_unique<FileMemoryTable>(); },
    };
    services.desktop = std::move(surroundings.desktop);
    services.files = surroundings.files;
    services.exportFiles = systemFiles();
    services.settings = std::make_shared<Settings>(std::move(surroundings.preferences));
    services.notifications = std::move(surroundings.notifications);
    services.places.home = surroundings.folders.home;
    // Not quit(): that would first ask every window, and a sheet may refuse to close.
    services.terminate = [] { QCoreApplication::exit(0); };
    services.bundles = std::move(surroundings.bundles);
    services.authentication = std::move(surroundings.authentication);
    services.cleanup = std::make_shared<AdministratorCleanup>(AdministratorCleanupServices{
        .administrator = std::move(surroundings.administrator),
        .files = std::move(surroundings.files),
        .trash = std::move(surroundings.cleanupTrash),
        .temporary = surroundings.folders.temporary,
    });
    services.processes = std::move(surroundings.processes);
    services.links = std::move(surroundings.links);
    services.reinstallFolder = surroundings.folders.applicationSupport + "/Vestigo/reinstalls";
    return services;
}

}  // namespace vestigo
