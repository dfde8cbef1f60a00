// The code signature inside a Mach-O file, as far as it tells who signed.
//
// Layouts: mach_header, load commands and universal headers of Apple's <mach-o/loader.h> and
// <mach-o/fat.h>; super blob and code directory as in llvm/BinaryFormat/MachO.h (CS_SuperBlob,
// CS_BlobIndex, CS_CodeDirectory). Whatever in a file does not hold together reads as unsigned.
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

/// A message longer than this is taken for none; real ones have about 10 KB.
inline constexpr std::uint64_t largestSignatureMessage = std::uint64_t{1} << 20U;

/// Of a thin image of either byte order and word size, or of a universal file's arm64 image, else
/// its x86_64 image, else its first. Empty for unsigned code; absent when it is no Mach-O file.
[[nodiscard]] std::optional<CodeSignature> readCodeSignature(const ByteSource& file);

/// Of a code directory that is a blob of its own. Absent where it names none.
[[nodiscard]] std::optional<std::string> teamIdentifierOf(const ByteSource& codeDirectory);

}  // namespace vestigo
