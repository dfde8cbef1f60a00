// Who signed a cryptographic message (CMS).
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace vestigo {

/// The common name, in UTF-8, of the certificate that the message's first signer names as his own
/// (by issuer and serial number, or by key identifier), wherever it stands among the certificates.
/// Where its subject has several common names, the last and most specific one. Absent when the
/// message cannot be read, does not carry that certificate, or the name is empty, holds a NUL or
/// is not valid in its own encoding. Says nothing about whether the signature is valid.
[[nodiscard]] std::optional<std::string> signerCommonName(std::span<const std::byte> message);

}  // namespace vestigo
