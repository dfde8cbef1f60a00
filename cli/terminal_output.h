// Writes to a terminal: makes file names harmless to it and draws the progress of a scan. A file
// name may hold any bytes, also control sequences that a terminal would obey.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vestigo {

/// Returns the text with "?" for each control character, line break, character that changes the
/// direction of writing, and byte that is not UTF-8.
[[nodiscard]] std::string printable(std::string_view text);

/// Returns CSV or JSON in which no name can control a terminal: control characters and those that
/// change the direction of writing are written as "\u001B", bytes that are not UTF-8 as "\xFF".
/// Line ends between records stay.
[[nodiscard]] std::string escapedForTerminal(std::string_view text);

/// Returns the count and as much of the path's end as fits into `columns`, one of which stays free.
/// Replaces the same characters as `printable`.
[[nodiscard]] std::string progressText(std::int64_t count, std::string_view path,
                                       std::size_t columns);

/// A line on standard error that draws over itself at most ten times a second, and does nothing
/// where standard error is no terminal. The destructor clears the line.
class ProgressLine {
public:
    ProgressLine() = default;
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void show(std::int64_t count, std::string_view path);

private:
    std::chrono::steady_clock::time_point next_;
    bool shown_ = false;
};

}  // namespace vestigo
