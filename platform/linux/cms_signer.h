// Reads the signer's name from a cryptographic message (CMS).
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace vestigo {

/// The common name, in UTF-8, of the certificate that the message's first signer refers to (by
/// issuer and serial number, or by key identifier), wherever it stands among the certificates. If
/// the subject has several common names, the last and most specific one counts. Absent when the
/// message cannot be read, does not contain that certificate, or the name is empty, holds a NUL or
/// is not valid in its own encoding. Does not verify the signature.
[[nodiscard]] std::optional<std::string> signerCommonName(std::span<const std::byte> message);

}  // namespace vestigo
