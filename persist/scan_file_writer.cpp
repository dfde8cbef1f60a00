// The JSON text is written directly into one string, because a document in memory would take
// several times its size. Signatures are sorted by root, so equal results give equal files.
//
// JSON is UTF-8. A hit whose path is not UTF-8 is left out, and the next scan finds it again.
#include "persist/scan_file_writer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

#include "engine/text.h"

namespace vestigo {
namespace {

using Byte = unsigned char;

bool isSavablePath(std::string_view path) {
    return path.find('\0') == std::string_view::npos && isUtf8(path);
}

bool isSavable(const BinaryHit& hit) {
    return isSavablePath(hit.path) && std::ranges::all_of(hit.archs, isUtf8);
}

/// For each byte the letter that stands for it after a backslash, with 'u' for a numeric escape; 0
/// for a byte that is written as it is.
constexpr auto escapeLetters = [] {
    std::array<char, 256> letters{};
    for (std::size_t control = 0; control < 0x20; ++control) letters[control] = 'u';
    letters['\b'] = 'b';
    letters['\f'] = 'f';
    letters['\n'] = 'n';
    letters['\r'] = 'r';
    letters['\t'] = 't';
    letters['"'] = '"';
    letters['\\'] = '\\';
    letters['/'] = '/';
    return letters;
}();

void appendEscape(std::string& out, char byte, char letter) {
    out += '\\';
    out += letter;
    if (letter != 'u') return;
    constexpr std::string_view digits = "0123456789abcdef";
    const auto code = static_cast<Byte>(byte);
    out += "00";
    out += digits[code >> 4U];
    out += digits[code & 0xFU];
}

void appendString(std::string& out, std::string_view text) {
    out += '"';
    const char* clean = text.data();
    const char* const end = clean + text.size();
    for (const char* at = clean; at != end; ++at) {
        const char letter = escapeLetters[static_cast<Byte>(*at)];
        if (letter == 0) continue;
        out.append(clean, at);
        appendEscape(out, *at, letter);
        clean = at + 1;
    }
    out.append(clean, end);
    out += '"';
}

void appendNumber(std::string& out, std::int64_t value) {
    std::array<char, 24> text{};
    const auto end = std::to_chars(text.begin(), text.end(), value).ptr;
    out.append(text.begin(), end);
}

void appendNumber(std::string& out, double value) {
    // Readers take a number of digits alone for an integer: they refuse one that is too long, and
    // -0 loses its sign. An exponent prevents both.
    const bool plain = value == 0 ? !std::signbit(value) : std::fabs(value) < 1e15;
    std::array<char, 32> text{};
    const auto result =
        plain ? std::to_chars(text.begin(), text.end(), value)
              : std::to_chars(text.begin(), text.end(), value, std::chars_format::scientific);
    out.append(text.begin(), result.ptr);
}

/// Writes a comma before every item but the first.
class Separator {
public:
    void next(std::string& out) {
        if (!first_) out += ',';
        first_ = false;
    }

private:
    bool first_ = true;
};

void appendStrings(std::string& out, const std::vector<std::string>& items) {
    out += '[';
    Separator separator;
    for (const auto& item : items) {
        separator.next(out);
        appendString(out, item);
    }
    out += ']';
}

void appendRoots(std::string& out, std::vector<std::string> roots) {
    std::erase_if(roots, [](const std::string& root) { return !isSavablePath(root); });
    appendStrings(out, roots);
}

void appendHit(std::string& out, const BinaryHit& hit) {
    out += R"({"path":)";
    appendString(out, hit.path);
    out += R"(,"archs":)";
    appendStrings(out, hit.archs);
    out += R"(,"size":)";
    appendNumber(out, hit.size);
    out += R"(,"mtime":)";
    appendNumber(out, hit.mtime);
    out += R"(,"ctime":)";
    appendNumber(out, hit.ctime);
    out += '}';
}

void appendHits(std::string& out, const HitList& hits) {
    out += '[';
    Separator separator;
    for (const auto& hit : hits) {
        if (!isSavable(*hit)) continue;
        separator.next(out);
        appendHit(out, *hit);
    }
    out += ']';
}

struct Signature {
    std::string_view root;
    const SignInfo* info;
};

std::vector<Signature> orderedByRoot(const SignatureMap& signatures) {
    std::vector<Signature> ordered;
    ordered.reserve(signatures.size());
    for (const auto& [root, info] : signatures) {
        if (isSavablePath(root) && isUtf8(info.vendor)) ordered.push_back({root, &info});
    }
    std::ranges::sort(ordered, {}, &Signature::root);
    return ordered;
}

void appendSignatures(std::string& out, const SignatureMap& signatures) {
    out += '{';
    Separator separator;
    for (const auto& [root, info] : orderedByRoot(signatures)) {
        separator.next(out);
        appendString(out, root);
        out += info->isApple ? R"(:{"isApple":true,"vendor":)" : R"(:{"isApple":false,"vendor":)";
        appendString(out, info->vendor);
        out += '}';
    }
    out += '}';
}

bool isFinite(const ScanFile& record) {
    return std::isfinite(record.date) && std::ranges::all_of(record.hits, [](const HitRef& hit) {
               return std::isfinite(hit->mtime) && std::isfinite(hit->ctime);
           });
}

/// A size in which nearly every record fits, so that the text is not moved while it grows.
std::size_t expectedSize(const ScanFile& record) {
    constexpr std::size_t besidePath = 128;
    std::size_t size = 4096;
    for (const auto& hit : record.hits) size += hit->path.size() * 5 / 4 + besidePath;
    if (!record.signatures) return size;
    for (const auto& [root, info] : *record.signatures) {
        size += root.size() * 5 / 4 + info.vendor.size() + besidePath;
    }
    return size;
}

}  // namespace

std::optional<std::string> encodeScanFile(const ScanFile& record) {
    if (!isFinite(record)) return std::nullopt;
    std::string out;
    out.reserve(expectedSize(record));
    out += '{';
    if (record.version) {
        out += R"("version":)";
        appendNumber(out, *record.version);
        out += ',';
    }
    out += R"("date":)";
    appendNumber(out, record.date);
    out += R"(,"roots":)";
    appendRoots(out, record.roots);
    out += R"(,"hits":)";
    appendHits(out, record.hits);
    out += R"(,"signatures":)";
    static const SignatureMap none;
    appendSignatures(out, record.signatures ? *record.signatures : none);
    out += '}';
    return out;
}

}  // namespace vestigo
