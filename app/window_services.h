// Puts together what the windows work with.
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

/// The world that the program looks at and keeps its own things in.
struct PlatformServices {
    StandardFolders folders;
    std::shared_ptr<Preferences> preferences;
    /// Opens those of the previous product, at the first launch only. May be empty.
    std::function<std::shared_ptr<Preferences>()> openPreviousPreferences;
    std::shared_ptr<DirectoryReader> reader;
    std::shared_ptr<CodeSigning> signing;
    std::shared_ptr<Desktop> desktop;
    std::shared_ptr<Files> files;
    std::shared_ptr<BundleReader> bundles;
    std::shared_ptr<Trash> trash;
    std::shared_ptr<CleanupTrash> cleanupTrash;
    std::shared_ptr<Links> links;
    std::shared_ptr<LastingProcesses> processes;  ///< What reinstalls run.
    std::shared_ptr<OwnerAuthentication> authentication;
    std::shared_ptr<Administrator> administrator;
    /// The last one's end waits for what the windows left running in the background.
    std::shared_ptr<BackgroundTasks> tasks;
    std::shared_ptr<NotificationCenter> notifications = std::make_shared<NotificationCenter>();
};

/// Tells the windows, in a later turn of the main thread, that memory has run out. It may be called
/// on any thread.
[[nodiscard]] std::function<void()> outOfMemoryReport(
    std::shared_ptr<NotificationCenter> notifications);

/// The user's own. Needs the application object.
[[nodiscard]] PlatformServices systemPlatformServices();

/// For `VestigoApp`. Made on the main thread, while the application object lives.
[[nodiscard]] ContentServices windowServices(PlatformServices platform);

}  // namespace vestigo
