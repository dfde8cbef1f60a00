#define SIMDJSON_EXCEPTIONS 0  // Every error is a value.
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

/// The index behind the string that begins at `start`; the text's size when it does not end.
std::size_t endOfString(std::string_view text, std::size_t start) {
    for (auto quote = text.find('"', start + 1); quote != std::string_view::npos;
         quote = text.find('"', quote + 1)) {
        // A quote behind an odd number of backslashes belongs to the string.
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

bool JsonCutter::take(char token) {
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

/// A value, or that there is none under its key. Every `take` is false, its target unspecified,
/// when the value is absent or of another type.
using Value = simdjson::simdjson_result<dom::element>;

bool isAbsent(Value value) {
    return value.error() == simdjson::NO_SUCH_FIELD || value.is_null();
}

bool take(Value value, bool& target) {
    return !value.get(target);
}

bool take(Value value, double& target) {
    return !value.get(target);
}

bool take(Value value, std::int64_t& target) {
    if (!value.get(target)) return true;
    double number = 0;
    if (!value.is_double() || value.get(number)) return false;
    if (number != std::trunc(number) || number < -0x1p63 || number >= 0x1p63) return false;
    target = static_cast<std::int64_t>(number);
    return true;
}

bool take(Value value, std::string& target) {
    std::string_view text;
    if (value.get(text)) return false;
    target = text;
    return true;
}

bool readPath(Value value, std::string& target) {
    return take(value, target) && target.find('\0') == std::string::npos;
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

bool take(Value value, BinaryHit& hit) {
    dom::object fields;
    if (value.get(fields)) return false;
    const auto readArch = [](Value arch, std::string& target) { return take(arch, target); };
    if (!readPath(fields["path"], hit.path)) return false;
    if (!readList(fields["archs"], hit.archs, readArch)) return false;
    if (!take(fields["size"], hit.size) || !take(fields["mtime"], hit.mtime)) return false;
    // Records of older programs do not know the creation time.
    hit.ctime = hit.mtime;
    const auto ctime = fields["ctime"];
    return isAbsent(ctime) || take(ctime, hit.ctime);
}

bool take(Value value, HitRef& target) {
    auto hit = std::make_shared<BinaryHit>();
    if (!take(value, *hit)) return false;
    target = std::move(hit);
    return true;
}

bool take(Value value, SignInfo& info) {
    dom::object fields;
    if (value.get(fields)) return false;
    return take(fields["isApple"], info.isApple) && take(fields["vendor"], info.vendor);
}

/// False only when there is a value of another type.
template <class Item>
bool readOptional(Value value, std::optional<Item>& target) {
    return isAbsent(value) || take(value, target.emplace());
}

bool readEntries(Value value, SignatureMap& signatures) {
    dom::object entries;
    if (value.get(entries)) return false;
    for (const auto entry : entries) {
        if (entry.key.find('\0') != std::string_view::npos) return false;
        SignInfo info;
        if (!take(Value(dom::element(entry.value)), info)) return false;
        signatures.try_emplace(std::string(entry.key), std::move(info));
    }
    return true;
}

/// Reads the text piece by piece, which keeps what is in memory beside text and record small.
class Decoder {
public:
    explicit Decoder(std::size_t pieceSize) : pieceSize_(pieceSize) {}

    std::optional<ScanFile> decode(std::string_view bytes) {
        JsonCutter text(bytes);
        if (!text.take('{')) return std::nullopt;
        do {
            if (!readMember(text)) return std::nullopt;
        } while (text.take(','));
        if (!text.take('}') || !text.atEnd() || !isComplete()) return std::nullopt;
        return std::move(record_);
    }

private:
    [[nodiscard]] bool isComplete() const {
        return record_.version.value_or(0) >= scanFileVersion && seen_.contains("date") &&
               seen_.contains("roots") && seen_.contains("hits");
    }

    bool readMember(JsonCutter& text) {
        std::string key;
        if (!take(parse("", text.string(), ""), key) || !text.take(':')) return false;
        const auto value = text.values();
        if (!seen_.insert(key).second) return isValid(value);
        if (key == "version") return readOptional(parse("", value, ""), record_.version);
        if (key == "date") return take(parse("", value, ""), record_.date);
        if (key == "roots") return readList(parse("", value, ""), record_.roots, readPath);
        if (key == "hits") return receiveHits(value);
        if (key == "signatures") return receiveSignatures(value);
        return isValid(value);
    }

    bool receiveHits(std::string_view list) {
        return readPieces(list, "[", "]", [this](Value piece) {
            return readList(piece, record_.hits,
                            [](Value hit, HitRef& target) { return take(hit, target); });
        });
    }

    bool receiveSignatures(std::string_view map) {
        if (!JsonCutter(map).take('{')) return parse("", map, "").is_null();
        auto& signatures = record_.signatures.emplace();
        return readPieces(map, "{", "}",
                          [&](Value piece) { return readEntries(piece, signatures); });
    }

    /// Hands on the items of a list or map, as lists or maps of fewer.
    template <class TakePiece>
    bool readPieces(std::string_view items, const char* open, const char* close,
                    TakePiece readPiece) {
        JsonCutter text(items);
        if (!text.take(*open)) return false;
        JsonCutter empty = text;
        if (empty.take(*close)) return empty.atEnd();
        do {
            const auto piece = text.values(pieceSize_);
            if (JsonCutter(piece).atEnd() || !readPiece(parse(open, piece, close))) return false;
        } while (text.take(','));
        return text.take(*close) && text.atEnd();
    }

    bool isValid(std::string_view value) { return !parse("", value, "").error(); }

    /// The result lives until the next call.
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
