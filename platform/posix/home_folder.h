// Where the user's own things are. Thread-safe while nobody changes the environment.
#pragma once

#include <optional>
#include <string>

namespace vestigo {

[[nodiscard]] std::string withoutTrailingSlash(std::string path);

/// Absent when the variable is missing or no absolute path.
[[nodiscard]] std::optional<std::string> folderFromEnvironment(const char* variable);

/// $HOME, else what the user database says, else "/"; touches nothing.
[[nodiscard]] std::string homeFolder();

}  // namespace vestigo
