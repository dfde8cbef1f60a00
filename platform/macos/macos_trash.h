// Moves items to the system's Trash, from which Finder puts them back.
#pragma once

#include "platform/trash.h"

namespace vestigo {

class MacOSTrash : public Trash {
public:
    [[nodiscard]] std::optional<std::string> moveToTrash(const std::string& path,
                                                         const ItemIdentity& item) override;
};

}  // namespace vestigo
