// Assembles the services that the windows work with.
#pragma once

#include <functional>
#include <memory>

#include "platform/administrator.h"
#include "platform/bundle_information.h"
#include "platform/cleanup_trash.h"
#include "platform/code_signing.h"
#include "platform/desktop.h"
#include "platform/directory_reader.h"
#include "platform/files.h"
#include "platform/lasting_processes.h"
#include "platform/links.h"
#include "platform/owner_authentication.h"
#include "platform/preferences.h"
#include "platform/standard_folders.h"
#include "platform/tasks.h"
#include "platform/trash.h"
#include "ui/model/content_view.h"

namespace vestigo {

/// The services of the system. The demonstration and the tests replace some of them with their own.
struct PlatformServices {
    StandardFolders folders;
    std::shared_ptr<Preferences> preferences;
    /// Opens the preferences of the previous product; called at the first launch only. May be
    /// empty.
    std::function<std::shared_ptr<Preferences>()> openPreviousPreferences;
    std::shared_ptr<DirectoryReader> reader;
    std::shared_ptr<CodeSigning> signing;
    std::shared_ptr<Desktop> desktop;
    std::shared_ptr<Files> files;
    std::shared_ptr<BundleReader> bundles;
    std::shared_ptr<Trash> trash;
    std::shared_ptr<CleanupTrash> cleanupTrash;
    std::shared_ptr<Links> links;
    std::shared_ptr<LastingProcesses> processes;  ///< Runs reinstalls.
    std::shared_ptr<OwnerAuthentication> authentication;
    std::shared_ptr<Administrator> administrator;
    /// The destructor waits for the tasks that closed windows have left running.
    std::shared_ptr<BackgroundTasks> tasks;
    std::shared_ptr<NotificationCenter> notifications = std::make_shared<NotificationCenter>();
};

/// Returns a function that tells the windows, in a later turn of the main thread, that memory has
/// run out. It may be called on any thread.
[[nodiscard]] std::function<void()> outOfMemoryReport(
    std::shared_ptr<NotificationCenter> notifications);

/// Returns the services of the real system. The application object must exist.
[[nodiscard]] PlatformServices systemPlatformServices();

/// Returns the services for the windows of a `VestigoApp`. Main thread only; the application object
/// must exist.
[[nodiscard]] ContentServices windowServices(PlatformServices platform);

}  // namespace vestigo
