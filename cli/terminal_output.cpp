#include "cli/terminal_output.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "engine/text.h"
#include "platform/terminal.h"

namespace vestigo {
namespace {

constexpr auto interval = std::chrono::milliseconds(100);
constexpr const char* clearLine = "\r\033[K";

/// One UTF-8 character, or one byte that is part of none.
struct Character {
    std::string_view bytes;
    bool isText = false;  ///< Well-formed UTF-8 that can be shown as it is.
    char32_t code = 0;    ///< The code point, or the value of the single byte.
};

bool isControl(char32_t code) {
    return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

/// The characters of the Unicode property Bidi_Control. They let a terminal show a name in another
/// order than it is written in: "exe.fdp" after one of them reads "pdf.exe".
bool reordersText(char32_t code) {
    return code == 0x061C || code == 0x200E || code == 0x200F ||
           (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

Character firstCharacter(std::string_view text) {
    const auto length = utf8SequenceLength(text);
    const auto lead = static_cast<unsigned char>(text[0]);
    if (length == 0) return {text.substr(0, 1), false, lead};
    char32_t code = length == 1 ? lead : lead & (0xFFU >> (length + 1));
    for (const char byte : text.substr(1, length - 1)) {
        code = code << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    return {text.substr(0, length), !isControl(code) && !reordersText(code), code};
}

template <class Visit>
void forEachCharacter(std::string_view text, Visit visit) {
    while (!text.empty()) {
        const auto character = firstCharacter(text);
        visit(character);
        text.remove_prefix(character.bytes.size());
    }
}

std::string escaped(const Character& character) {
    const bool isByte = character.bytes.size() == 1 && character.code >= 0x80;
    char text[8];
    std::snprintf(text, sizeof text, isByte ? "\\x%02X" : "\\u%04X",
                  static_cast<unsigned>(character.code));
    return text;
}

/// A piece of text that a terminal shows in `columns` columns: 0 for a combining character, 2 for a
/// wide one.
struct Cell {
    std::string_view bytes;
    std::size_t columns;
};

std::vector<Cell> cellsOf(std::string_view text) {
    std::vector<Cell> cells;
    forEachCharacter(text, [&cells](const Character& character) {
        const auto columns = character.isText ? terminalColumns(character.code) : std::nullopt;
        cells.push_back(columns ? Cell{character.bytes, *columns} : Cell{"?", 1});
    });
    return cells;
}

/// Returns as much of the end of the text as fits, with an ellipsis in front when that is not all.
std::string endThatFits(std::string_view text, std::size_t columns) {
    const auto cells = cellsOf(text);
    std::size_t used = 0;
    for (const auto& cell : cells) used += cell.columns;
    const bool cut = used > columns;
    auto first = cells.begin();
    for (; used > (cut ? columns - 1 : columns); ++first) used -= first->columns;
    std::string result = cut ? "…" : "";
    for (; first != cells.end(); ++first) result += first->bytes;
    return result;
}

}  // namespace

std::string printable(std::string_view text) {
    std::string result;
    forEachCharacter(text, [&result](const Character& character) {
        result += character.isText ? character.bytes : "?";
    });
    return result;
}

std::string escapedForTerminal(std::string_view text) {
    std::string result;
    // A name that holds a line end stands in quotes. A line end outside of quotes ends a record.
    bool inName = false;
    forEachCharacter(text, [&](const Character& character) {
        if (character.code == '"') inName = !inName;
        const bool endsRecord = character.code == '\n' && !inName;
        if (character.isText || endsRecord) {
            result += character.bytes;
        } else {
            result += escaped(character);
        }
    });
    return result;
}

std::string progressText(std::int64_t count, std::string_view path, std::size_t columns) {
    // The last column stays free, as some terminals wrap the line when it is written.
    const auto room = columns > 0 ? columns - 1 : 0;
    const auto start = std::to_string(count) + " files  ";
    if (start.size() + 2 > room) return start.substr(0, room);
    return start + endThatFits(path, room - start.size());
}

ProgressLine::~ProgressLine() {
    if (!shown_) return;
    std::fputs(clearLine, stderr);
    std::fflush(stderr);
}

void ProgressLine::show(std::int64_t count, std::string_view path) {
    const auto now = std::chrono::steady_clock::now();
    if (now < next_) return;
    next_ = now + interval;
    // The width is asked for each time, as the user may resize the window during the scan.
    const auto columns = errorTerminalWidth();
    if (!columns) return;
    shown_ = true;
    std::fprintf(stderr, "%s%s", clearLine, progressText(count, path, *columns).c_str());
    std::fflush(stderr);
}

}  // namespace vestigo
