// The user's Trash.
#pragma once

#include <optional>
#include <string>

namespace vestigo {

/// Main thread only; blocking.
class Trash {
public:
    virtual ~Trash() = default;
    /// Moves one file, folder or link (the link itself) to the user's Trash, whole or not at all;
    /// what lies there already stays. Absent when it worked, else why not, for the user to read.
    [[nodiscard]] virtual std::optional<std::string> moveToTrash(const std::string& path) = 0;
};

}  // namespace vestigo
