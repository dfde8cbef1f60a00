// Who signed the code at a group's root: facts from the platform, and what they mean.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "engine/records.h"
#include "platform/code_signing.h"

namespace vestigo {

/// What the platform answered about one path.
struct SignatureAnswers {
    bool isCode = false;
    bool isAnchoredToApple = false;  ///< Asked only where `mayBeApple`.
    std::optional<SigningInformation> information;
};

/// Whether the path lies where the system's own code lies. Only there can code be Apple's, and
/// only there is the costly question asked.
[[nodiscard]] bool mayBeApple(std::string_view path);

/// Never empty-handed: what is no code, is not signed or cannot be read is "unsigned". The vendor
/// is the common name of the signer's certificate without the words for its role before it and the
/// team in parentheses behind it (empty when nothing else is left), else the team identifier.
[[nodiscard]] SignInfo signInfoFrom(std::string_view path, const SignatureAnswers& answers);

/// Asks the platform and decides. Blocking, and long for Apple's own large bundles. Thread-safe.
[[nodiscard]] SignInfo inspectSignature(CodeSigning& signing, const std::string& path);

}  // namespace vestigo
