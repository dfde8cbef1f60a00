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
    /// Moves one file, folder or link (the link itself) to the user's Trash, whole or not at all,
    /// and replaces nothing there. When another item than `item` lies at the path by then, it
    /// stays. Absent when the item was moved, else the reason, as a text for the user.
    [[nodiscard]] virtual std::optional<std::string> moveToTrash(const std::string& path,
                                                                 const ItemIdentity& item) = 0;
};

}  // namespace vestigo
