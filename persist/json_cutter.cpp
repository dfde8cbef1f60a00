#include "persist/json_cutter.h"

#include <algorithm>

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

}  // namespace vestigo
