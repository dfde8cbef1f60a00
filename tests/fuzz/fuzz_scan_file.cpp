// Whatever the reader accepts, the writer writes, and it is read back as the same record. How the
// reader cuts the text makes no difference.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "persist/scan_file_reader.h"
#include "persist/scan_file_writer.h"

namespace {

using namespace vestigo;

bool sameNumber(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

bool sameHit(const HitRef& a, const HitRef& b) {
    return *a == *b && sameNumber(a->mtime, b->mtime) && sameNumber(a->ctime, b->ctime);
}

bool same(const ScanFile& a, const ScanFile& b) {
    return a.version == b.version && sameNumber(a.date, b.date) && a.roots == b.roots &&
           std::equal(a.hits.begin(), a.hits.end(), b.hits.begin(), b.hits.end(), sameHit) &&
           a.signatures.value_or(SignatureMap()) == b.signatures.value_or(SignatureMap());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto record = decodeScanFile(bytes);
    const auto byPieces = decodeScanFile(bytes, 1);
    if (record.has_value() != byPieces.has_value()) std::abort();
    if (!record) return 0;
    const auto text = encodeScanFile(*record);
    if (!text) std::abort();
    const auto again = decodeScanFile(*text);
    if (!again || !same(*record, *again) || !same(*record, *byPieces)) std::abort();
    if (encodeScanFile(*again) != text) std::abort();
    return 0;
}
