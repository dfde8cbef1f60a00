// The users' home folders. Thread-safe while nobody changes the environment.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vestigo {

[[nodiscard]] std::string withoutTrailingSlash(std::string path);

/// Absent when the variable is missing or no absolute path.
[[nodiscard]] std::optional<std::string> folderFromEnvironment(const char* variable);

/// $HOME, else the home in the user database, else "/". Creates nothing.
[[nodiscard]] std::string homeFolder();

/// The folders in `parent` that are not hidden, sorted by name, then root's home and `homeFolder`.
/// Each folder is given once; of two paths to the same folder the first one stays.
[[nodiscard]] std::vector<std::string> homeFolders(const std::string& parent);

}  // namespace vestigo
