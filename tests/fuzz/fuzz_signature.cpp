// Whatever a disk holds where a signature or an Info.plist is looked for, in memory.
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "platform/linux/cms_signer.h"
#include "platform/linux/linux_bundle_reader.h"
#include "platform/linux/signature_blob.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto bytes = std::as_bytes(std::span(data, size));
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (text.starts_with("bplist") || text.starts_with("<")) {
        (void)vestigo::parseInfoPlist(text);
        return 0;
    }
    if (const auto signature = vestigo::readCodeSignature(vestigo::MemoryBytes(bytes))) {
        (void)vestigo::signerCommonName(signature->message);
    } else {
        (void)vestigo::signerCommonName(bytes);
    }
    (void)vestigo::teamIdentifierOf(vestigo::MemoryBytes(bytes));
    return 0;
}
