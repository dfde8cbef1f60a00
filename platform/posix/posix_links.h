// Reads and removes links relative to the open folder that holds them.
#pragma once

#include "platform/links.h"

namespace vestigo {

/// Descends without recursion and returns through "..", so that depth costs neither stack nor
/// descriptors. A folder that is moved away during the walk ends it.
class PosixLinks : public Links {
public:
    void visit(const std::string& folder, const std::function<void(FoundLink&)>& visitor) override;
};

}  // namespace vestigo
