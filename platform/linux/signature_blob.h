// Reads the parts of a Mach-O file's code signature that tell who signed it.
//
// Layouts: mach_header, load commands and universal headers as in Apple's <mach-o/loader.h> and
// <mach-o/fat.h>; super blob and code directory as in llvm/BinaryFormat/MachO.h (CS_SuperBlob,
// CS_BlobIndex, CS_CodeDirectory). A malformed signature reads as none.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/byte_source.h"

namespace vestigo {

struct CodeSignature {
    std::optional<std::string> teamIdentifier;  ///< Not empty.
    /// The cryptographic message that holds the certificates (DER or BER); empty in an ad-hoc
    /// signature and in unsigned code.
    std::vector<std::byte> message;

    [[nodiscard]] bool isEmpty() const { return !teamIdentifier && message.empty(); }
};

/// A longer message is ignored; real ones have about 10 KB.
inline constexpr std::uint64_t largestSignatureMessage = std::uint64_t{1} << 20U;

/// Reads the signature of a thin image, of either byte order and word size, or of a universal
/// file's arm64 image, else its x86_64 image, else its first. Empty for unsigned code; absent when
/// the file is no Mach-O file.
[[nodiscard]] std::optional<CodeSignature> readCodeSignature(const ByteSource& file);

/// The team identifier in a code directory that is a blob of its own. Absent where it has none.
[[nodiscard]] std::optional<std::string> teamIdentifierOf(const ByteSource& codeDirectory);

}  // namespace vestigo
