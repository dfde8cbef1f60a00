// Finds out who signed the code at a group's root. The platform gives the facts; a pure function
// decides what they mean.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "engine/records.h"
#include "platform/code_signing.h"

namespace vestigo {

/// The platform's answers about one path.
struct SignatureAnswers {
    bool isCode = false;
    bool isAnchoredToApple = false;  ///< Only asked for where `mayBeApple` is true.
    std::optional<SigningInformation> information;
};

/// Whether the path lies in a place of the system's own code. Only there is code taken for Apple's,
/// and only there is the costly question asked.
[[nodiscard]] bool mayBeApple(std::string_view path);

/// Decides by the answers. It always returns a summary, if only "unsigned": for a path that is no
/// code, is not signed or cannot be read. The vendor is the common name of the signer's
/// certificate, without the role before it and the team in parentheses after it, which may leave
/// nothing. Without a certificate it is the team identifier.
[[nodiscard]] SignInfo signInfoFrom(std::string_view path, const SignatureAnswers& answers);

/// Asks the platform and decides. Blocking, for long with large bundles of the system. Thread-safe.
[[nodiscard]] SignInfo inspectSignature(CodeSigning& signing, const std::string& path);

}  // namespace vestigo
