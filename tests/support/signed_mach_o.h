// Mach-O files with code signatures, made by hand; certificates and messages by OpenSSL.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vestigo::test {

struct MessageOptions {
    /// The signer's common names in the order of the subject, as raw UTF-8 string contents.
    std::vector<std::string> commonNames = {"Developer ID Application: Example Corp (AB12CD34EF)"};
    bool byKeyIdentifier = false;  ///< The signer is named by key, not by issuer and serial.
    bool withoutCertificates = false;
};

/// A detached signature message: a self-made authority, its intermediate and the signer, in an
/// order in which the signer's certificate is not the first. DER.
std::string signatureMessage(const MessageOptions& options = {});

/// Version 0x20200 is the first that may name a team.
std::string codeDirectory(const std::string& team, std::uint32_t version = 0x20400);
/// Slot numbers and their blobs.
std::string superBlob(const std::vector<std::pair<std::uint32_t, std::string>>& blobs);

inline constexpr std::uint32_t codeDirectorySlot = 0;
inline constexpr std::uint32_t alternateDirectorySlot = 0x1000;
inline constexpr std::uint32_t messageSlot = 0x10000;

/// What a Developer ID or (without a message) an ad-hoc signature consists of.
std::string embeddedSignature(const std::string& team, const std::string& message);

/// A thin image with another load command before the signature's; unsigned where `signature` is
/// absent.
std::string machOImage(std::uint32_t cpu, const std::optional<std::string>& signature,
                       bool bigEndian = false);
/// A universal file of these images, with 64-bit entries when `wide`.
std::string universalFile(const std::vector<std::pair<std::uint32_t, std::string>>& images,
                          bool wide = false);

}  // namespace vestigo::test
