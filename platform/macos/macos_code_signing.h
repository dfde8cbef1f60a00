// Reads code signatures through the Security framework.
#pragma once

#include "platform/code_signing.h"

namespace vestigo {

class MacOSCodeSigning : public CodeSigning {
public:
    [[nodiscard]] std::unique_ptr<StaticCode> staticCode(const std::string& path) override;
};

}  // namespace vestigo
