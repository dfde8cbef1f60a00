#include "app/progress_line.h"

#include <cstdio>
#include <string_view>
#include <vector>

#include "engine/text.h"

namespace vestigo {
namespace {

constexpr auto interval = std::chrono::milliseconds(100);
constexpr const char* clearLine = "\r\033[K";

/// The length of the character at the start of `text`; 0 when a terminal should not see it.
std::size_t printableLength(std::string_view text) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    if (byte(0) < 0x20 || byte(0) == 0x7F) return 0;
    const auto length = utf8SequenceLength(text);
    const bool c1Control = length == 2 && byte(0) == 0xC2 && byte(1) < 0xA0;
    return c1Control ? 0 : length;
}

std::vector<std::string> printableCharacters(const std::string& text) {
    std::vector<std::string> characters;
    for (std::size_t at = 0; at < text.size();) {
        const auto length = printableLength(std::string_view(text).substr(at));
        characters.push_back(length ? text.substr(at, length) : "?");
        at += length ? length : 1;
    }
    return characters;
}

}  // namespace

std::string printable(const std::string& text) {
    std::string result;
    for (const auto& character : printableCharacters(text)) result += character;
    return result;
}

std::string progressText(std::int64_t count, const std::string& path, std::size_t width) {
    const auto start = std::to_string(count) + " files  ";
    // The last column stays free: some terminals move on when it is written.
    const auto room = width > start.size() + 1 ? width - start.size() - 1 : 0;
    const auto characters = printableCharacters(path);
    const bool cut = characters.size() > room;
    if (cut && room < 2) return start.substr(0, width ? width - 1 : 0);
    auto text = start + (cut ? "…" : "");
    for (auto i = cut ? characters.size() - room + 1 : 0; i < characters.size(); ++i) {
        text += characters[i];
    }
    return text;
}

ProgressLine::~ProgressLine() {
    if (!shown_) return;
    std::fputs(clearLine, stderr);
    std::fflush(stderr);
}

void ProgressLine::show(std::int64_t count, const std::string& path) {
    const auto now = std::chrono::steady_clock::now();
    if (now < next_) return;
    next_ = now + interval;
    shown_ = true;
    std::fprintf(stderr, "%s%s", clearLine, progressText(count, path, width_).c_str());
    std::fflush(stderr);
}

}  // namespace vestigo
