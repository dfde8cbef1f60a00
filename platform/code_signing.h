// Reads the code signature at a path, as the system reports it.
#pragma once

#include <memory>
#include <optional>
#include <string>

namespace vestigo {

/// The signing information of static code. Both are absent in an ad-hoc or missing signature.
struct SigningInformation {
    std::optional<std::string> leafCommonName;  ///< UTF-8 common name of the signer's certificate.
    std::optional<std::string> teamIdentifier;
};

/// Static code at a path, opened for questions. Used by one thread.
class StaticCode {
public:
    virtual ~StaticCode() = default;
    /// Whether the signature is valid and its chain is anchored to Apple. Reads the whole code.
    [[nodiscard]] virtual bool isAnchoredToApple() = 0;
    /// Absent when the signature cannot be read.
    [[nodiscard]] virtual std::optional<SigningInformation> signingInformation() = 0;
};

/// Thread-safe; blocking.
class CodeSigning {
public:
    virtual ~CodeSigning() = default;
    /// A file or a bundle. Null when there is no code at the path or it cannot be read.
    [[nodiscard]] virtual std::unique_ptr<StaticCode> staticCode(const std::string& path) = 0;
};

}  // namespace vestigo
