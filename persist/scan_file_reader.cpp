#define SIMDJSON_EXCEPTIONS 0  // Errors are then returned, not thrown.
#include "persist/scan_file_reader.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include <simdjson.h>

namespace vestigo {

namespace {

/// The index after the end of the string that begins at `start`; the size of the text if it does
/// not end.
std::size_t endOfString(std::string_view text, std::size_t start) {
    for (auto quote = text.find('"', start + 1); quote != std::string_view::npos;
         quote = text.find('"', quote + 1)) {
        // A quote after an odd number of backslashes is part of the string.
        const auto before = text.find_last_not_of('\\', quote - 1);
        if ((quote - before) % 2 == 1) return quote + 1;
    }
    return text.size();
}

}  // namespace

bool JsonCutter::atEnd() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\n\r"), rest_.size()));
    return rest_.empty();
}

bool JsonCutter::skip(char token) {
    if (atEnd() || rest_.front() != token) return false;
    rest_.remove_prefix(1);
    return true;
}

std::string_view JsonCutter::string() {
    return atEnd() || rest_.front() != '"' ? std::string_view() : cut(endOfString(rest_, 0));
}

std::string_view JsonCutter::values(std::size_t size) {
    std::size_t depth = 0;
    std::size_t at = 0;
    while (at < rest_.size()) {
        switch (rest_[at]) {
            case '"': at = endOfString(rest_, at); continue;
            case '{':
            case '[': ++depth; break;
            case '}':
            case ']':
                if (depth == 0) return cut(at);
                --depth;
                break;
            case ',':
                if (depth == 0 && at >= size) return cut(at);
                break;
            default: break;
        }
        ++at;
    }
    return cut(at);
}

std::string_view JsonCutter::cut(std::size_t size) {
    const auto piece = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return piece;
}

namespace {

namespace dom = simdjson::dom;

/// A value, or the error that there is none under its key. Each of the `read` functions returns
/// false if the value is absent or of another type; its target is then unspecified.
using Value = simdjson::simdjson_result<dom::element>;

bool isAbsent(Value value) {
    return value.error() == simdjson::NO_SUCH_FIELD || value.is_null();
}

bool readValue(Value value, bool& target) {
    return !value.get(target);
}

bool readValue(Value value, double& target) {
    return !value.get(target);
}

bool readValue(Value value, std::int64_t& target) {
    if (!value.get(target)) return true;
    double number = 0;
    if (!value.is_double() || value.get(number)) return false;
    if (number != std::trunc(number) || number < -0x1p63 || number >= 0x1p63) return false;
    target = static_cast<std::int64_t>(number);
    return true;
}

bool readValue(Value value, std::string& target) {
    std::string_view text;
    if (value.get(text)) return false;
    target = text;
    return true;
}

bool readPath(Value value, std::string& target) {
    return readValue(value, target) && target.find('\0') == std::string::npos;
}

template <class Item, class ReadItem>
bool readList(Value value, std::vector<Item>& target, ReadItem readItem) {
    dom::array items;
    if (value.get(items)) return false;
    if (target.empty()) target.reserve(items.size());
    for (const auto item : items) {
        if (!readItem(Value(dom::element(item)), target.emplace_back())) return false;
    }
    return true;
}

bool readValue(Value value, BinaryHit& hit) {
    dom::object fields;
    if (value.get(fields)) return false;
    const auto readArch = [](Value arch, std::string& target) { return readValue(arch, target); };
    if (!readPath(fields["path"], hit.path)) return false;
    if (!readList(fields["archs"], hit.archs, readArch)) return false;
    if (!readValue(fields["size"], hit.size) || !readValue(fields["mtime"], hit.mtime))
        return false;
    // Records of older versions have no creation time.
    hit.ctime = hit.mtime;
    const auto ctime = fields["ctime"];
    return isAbsent(ctime) || readValue(ctime, hit.ctime);
}

bool readValue(Value value, HitRef& target) {
    auto hit = std::make_shared<BinaryHit>();
    if (!readValue(value, *hit)) return false;
    target = std::move(hit);
    return true;
}

bool readValue(Value value, SignInfo& info) {
    dom::object fields;
    if (value.get(fields)) return false;
    return readValue(fields["isApple"], info.isApple) && readValue(fields["vendor"], info.vendor);
}

/// Reads a value that may be absent. False only if it is there and of another type.
template <class Item>
bool readOptional(Value value, std::optional<Item>& target) {
    return isAbsent(value) || readValue(value, target.emplace());
}

bool readEntries(Value value, SignatureMap& signatures) {
    dom::object entries;
    if (value.get(entries)) return false;
    for (const auto entry : entries) {
        if (entry.key.find('\0') != std::string_view::npos) return false;
        SignInfo info;
        if (!readValue(Value(dom::element(entry.value)), info)) return false;
        signatures.try_emplace(std::string(entry.key), std::move(info));
    }
    return true;
}

/// Parses the text piece by piece. Parsing it whole would take several times its size in memory.
class Decoder {
public:
    explicit Decoder(std::size_t pieceSize) : pieceSize_(pieceSize) {}

    std::optional<ScanFile> decode(std::string_view bytes) {
        JsonCutter text(bytes);
        if (!text.skip('{')) return std::nullopt;
        do {
            if (!readMember(text)) return std::nullopt;
        } while (text.skip(','));
        if (!text.skip('}') || !text.atEnd() || !isComplete()) return std::nullopt;
        return std::move(record_);
    }

private:
    [[nodiscard]] bool isComplete() const {
        return record_.version.value_or(0) >= scanFileVersion && seen_.contains("date") &&
               seen_.contains("roots") && seen_.contains("hits");
    }

    bool readMember(JsonCutter& text) {
        std::string key;
        if (!readValue(parse("", text.string(), ""), key) || !text.skip(':')) return false;
        const auto value = text.values();
        if (!seen_.insert(key).second) return isValid(value);
        if (key == "version") return readOptional(parse("", value, ""), record_.version);
        if (key == "date") return readValue(parse("", value, ""), record_.date);
        if (key == "roots") return readList(parse("", value, ""), record_.roots, readPath);
        if (key == "hits") return receiveHits(value);
        if (key == "signatures") return receiveSignatures(value);
        return isValid(value);
    }

    bool receiveHits(std::string_view list) {
        return readPieces(list, "[", "]", [this](Value piece) {
            return readList(piece, record_.hits,
                            [](Value hit, HitRef& target) { return readValue(hit, target); });
        });
    }

    bool receiveSignatures(std::string_view map) {
        if (!JsonCutter(map).skip('{')) return parse("", map, "").is_null();
        auto& signatures = record_.signatures.emplace();
        return readPieces(map, "{", "}",
                          [&](Value piece) { return readEntries(piece, signatures); });
    }

    /// Cuts a list or map into smaller lists or maps and calls `readPiece` with each.
    template <class ReadPiece>
    bool readPieces(std::string_view items, const char* open, const char* close,
                    ReadPiece readPiece) {
        JsonCutter text(items);
        if (!text.skip(*open)) return false;
        JsonCutter empty = text;
        if (empty.skip(*close)) return empty.atEnd();
        do {
            const auto piece = text.values(pieceSize_);
            if (JsonCutter(piece).atEnd() || !readPiece(parse(open, piece, close))) return false;
        } while (text.skip(','));
        return text.skip(*close) && text.atEnd();
    }

    bool isValid(std::string_view value) { return !parse("", value, "").error(); }

    /// Parses the text between the brackets. The result is valid until the next call.
    Value parse(const char* open, std::string_view text, const char* close) {
        piece_.reserve(text.size() + simdjson::SIMDJSON_PADDING + 2);
        piece_.assign(open).append(text).append(close);
        return parser_.parse(piece_);
    }

    std::size_t pieceSize_;
    dom::parser parser_;
    std::string piece_;
    std::set<std::string> seen_;
    ScanFile record_;
};

}  // namespace

std::optional<ScanFile> decodeScanFile(std::string_view bytes, std::size_t pieceSize) {
    return Decoder(pieceSize).decode(bytes);
}

}  // namespace vestigo
