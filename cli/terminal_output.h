// What vestigo-scan shows on a terminal: names that cannot drive it, and how far a scan is.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vestigo {

/// The text in one line, without control characters and bytes that are no UTF-8: "?" stands for
/// each of them.
[[nodiscard]] std::string printable(std::string_view text);

/// CSV or JSON in which no name can drive a terminal: control characters are written as "\u001B",
/// bytes that are no UTF-8 as "\xFF". The line ends between the records stay.
[[nodiscard]] std::string escapedForTerminal(std::string_view text);

/// The count and as much of the path's end as fits into so many columns, one of which stays free.
/// Also replaces what `printable` does.
[[nodiscard]] std::string progressText(std::int64_t count, std::string_view path,
                                       std::size_t columns);

/// Draws over itself on standard error, some ten times a second, where that is a terminal that can
/// do so; gone when destroyed.
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
