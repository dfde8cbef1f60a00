#include "app/window_services.h"

#include <QCoreApplication>
#include <utility>

#include "persist/background_scan_store.h"
#include "persist/migration.h"
#include "persist/scan_cache.h"
#include "persist/signature_inspector.h"
#include "platform/clock.h"
#include "platform/linux/linux_code_signing.h"
#include "platform/linux/linux_directory_reader.h"
#include "platform/linux/linux_files.h"
#include "platform/linux/linux_standard_folders.h"
#include "platform/linux/linux_tasks.h"
#include "platform/qt/qt_desktop.h"
#include "platform/qt/qt_main_queue.h"
#include "platform/qt/qt_preferences.h"

namespace vestigo {

Surroundings systemSurroundings() {
    return {
        .folders = linuxStandardFolders(),
        .preferences = QtPreferences::own(),
        .previousPreferences = QtPreferences::previousProduct(),
        .reader = std::make_shared<LinuxDirectoryReader>(),
        .signing = std::make_shared<LinuxCodeSigning>(),
        .desktop = std::make_shared<QtDesktop>(),
    };
}

ContentServices windowServices(Surroundings surroundings) {
    const auto files = std::make_shared<LinuxFiles>();
    const auto tasks = std::make_shared<LinuxTasks>();
    const auto cache = std::make_shared<ScanCache>(files, surroundings.folders);
    ContentServices services;
    services.scanner = {
        .main = std::make_shared<QtMainQueue>(),
        .background = tasks,
        .reader = std::move(surroundings.reader),
        .store = std::make_shared<BackgroundScanStore>(cache, tasks),
        .inspect = [signing = std::move(surroundings.signing)](
                       const std::string& root) { return inspectSignature(*signing, root); },
        .migrate = [own = surroundings.preferences, previous = surroundings.previousPreferences,
                    cache] { migrateFromPreviousProduct(*own, previous.get(), *cache); },
        .now = secondsSince2001,
        .priority = Priority::utility,
    };
    services.desktop = std::move(surroundings.desktop);
    services.files = files;
    services.settings = std::make_shared<Settings>(std::move(surroundings.preferences));
    services.notifications = std::make_shared<NotificationCenter>();
    services.home = surroundings.folders.home;
    // Not quit(): that would first ask every window, and a sheet may refuse to close.
    services.terminate = [] { QCoreApplication::exit(0); };
    return services;
}

}  // namespace vestigo
