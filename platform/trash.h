// The user's Trash.
#pragma once

#include <optional>
#include <string>

#include "platform/files.h"

namespace vestigo {

/// Main thread only; blocking.
class Trash {
public:
    virtual ~Trash() = default;
    /// Moves one file, folder or link (the link itself) to the user's Trash, whole or not at all;
    /// what lies there already stays. Only `item` goes: whatever else is at the path by then stays.
    /// Absent when it worked, else why not, for the user to read.
    [[nodiscard]] virtual std::optional<std::string> moveToTrash(const std::string& path,
                                                                 const ItemIdentity& item) = 0;
};

}  // namespace vestigo
