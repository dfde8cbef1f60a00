// Puts together what the windows work with.
#pragma once

#include <memory>

#include "platform/code_signing.h"
#include "platform/desktop.h"
#include "platform/directory_reader.h"
#include "platform/preferences.h"
#include "platform/standard_folders.h"
#include "ui/content_view.h"

namespace vestigo {

/// The world that the program looks at and keeps its own things in.
struct Surroundings {
    StandardFolders folders;
    std::shared_ptr<Preferences> preferences;
    std::shared_ptr<Preferences> previousPreferences;  ///< Of the previous product; may be null.
    std::shared_ptr<DirectoryReader> reader;
    std::shared_ptr<CodeSigning> signing;
    std::shared_ptr<Desktop> desktop;
};

/// The user's own. Needs the application object.
[[nodiscard]] Surroundings systemSurroundings();

/// For `VestigoApp`. Made on the main thread, while the application object lives; the last copy's
/// end waits for what the windows left running in the background.
[[nodiscard]] ContentServices windowServices(Surroundings surroundings);

}  // namespace vestigo
