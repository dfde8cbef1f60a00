// Links read and removed relative to the open folder that holds them.
#pragma once

#include "platform/links.h"

namespace vestigo {

/// Goes down and up again through "..", with a few descriptors and no recursion, so depth costs
/// neither; a folder that is moved away meanwhile ends the walk.
class PosixLinks : public Links {
public:
    void visit(const std::string& folder, const std::function<void(FoundLink&)>& visitor) override;
};

}  // namespace vestigo
