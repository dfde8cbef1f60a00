#include "app/window_services.h"

#include <QCoreApplication>
#include <utility>

#include "actions/administrator_cleanup.h"
#include "persist/background_scan_store.h"
#include "persist/migration.h"
#include "persist/scan_cache.h"
#include "persist/signature_inspector.h"
#include "platform/clock.h"
#include "platform/linux/linux_administrator.h"
#include "platform/linux/linux_bundle_reader.h"
#include "platform/linux/linux_cleanup_trash.h"
#include "platform/linux/linux_code_signing.h"
#include "platform/linux/linux_directory_reader.h"
#include "platform/linux/linux_files.h"
#include "platform/linux/linux_links.h"
#include "platform/linux/linux_owner_authentication.h"
#include "platform/linux/linux_processes.h"
#include "platform/linux/linux_standard_folders.h"
#include "platform/linux/linux_tasks.h"
#include "platform/linux/linux_trash.h"
#include "platform/qt/qt_desktop.h"
#include "platform/qt/qt_main_queue.h"
#include "platform/qt/qt_preferences.h"

namespace vestigo {

Surroundings systemSurroundings() {
    auto folders = linuxStandardFolders();
    const auto homeTrash = folders.applicationSupport + "/Trash";
    // With tasks of its own: a task that runs a program may be the last to let go of this.
    const auto processes = std::make_shared<LinuxProcesses>(std::make_shared<LinuxTasks>());
    return {
        .folders = std::move(folders),
        .preferences = QtPreferences::own(),
        .previousPreferences = QtPreferences::previousProduct(),
        .reader = std::make_shared<LinuxDirectoryReader>(),
        .signing = std::make_shared<LinuxCodeSigning>(),
        .desktop = std::make_shared<QtDesktop>(),
        .files = std::make_shared<LinuxFiles>(),
        .bundles = std::make_shared<LinuxBundleReader>(),
        .trash = std::make_shared<LinuxTrash>(homeTrash),
        .cleanupTrash = std::make_shared<LinuxCleanupTrash>(homeTrash),
        .links = std::make_shared<LinuxLinks>(),
        .processes = processes,
        .authentication = std::make_shared<LinuxOwnerAuthentication>(processes),
        .administrator = std::make_shared<LinuxAdministrator>(processes),
        .tasks = std::make_shared<LinuxTasks>(),
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
        .migrate = [own = surroundings.preferences, previous = surroundings.previousPreferences,
                    cache] { migrateFromPreviousProduct(*own, previous.get(), *cache); },
        .now = secondsSince2001,
        .priority = Priority::utility,
        .trash = std::move(surroundings.trash),
        .files = surroundings.files,
    };
    services.desktop = std::move(surroundings.desktop);
    services.files = surroundings.files;
    services.exportFiles = std::make_shared<LinuxFiles>();
    services.settings = std::make_shared<Settings>(std::move(surroundings.preferences));
    services.notifications = std::make_shared<NotificationCenter>();
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
    return services;
}

}  // namespace vestigo
