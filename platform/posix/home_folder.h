// Where the user's own things are. Thread-safe while nobody changes the environment.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vestigo {

[[nodiscard]] std::string withoutTrailingSlash(std::string path);

/// Absent when the variable is missing or no absolute path.
[[nodiscard]] std::optional<std::string> folderFromEnvironment(const char* variable);

/// $HOME, else what the user database says, else "/"; touches nothing.
[[nodiscard]] std::string homeFolder();

/// The folders in `parent` that are not hidden, by name, then the home of root and `homeFolder`,
/// each once: of two ways to one folder the first counts.
[[nodiscard]] std::vector<std::string> homeFolders(const std::string& parent);

}  // namespace vestigo
