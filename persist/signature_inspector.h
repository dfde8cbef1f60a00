// Finds out who signed the code at a group's root.
#pragma once

#include <string>

#include "engine/records.h"
#include "platform/code_signing.h"

namespace vestigo {

/// Asks the platform who signed the code at the path. It always returns a summary, if only
/// "unsigned": for a path that is no code, is not signed or cannot be read. Only code in a place of
/// the system's own is called Apple's. The vendor is the common name of the signer's certificate,
/// without the role before it and the team in parentheses after it, which may leave nothing.
/// Without a certificate it is the team identifier. Blocking, for long with large bundles of the
/// system. Thread-safe.
[[nodiscard]] SignInfo inspectSignature(CodeSigning& signing, const std::string& path);

}  // namespace vestigo
