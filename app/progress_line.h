// The line on a terminal that shows how far a scan is.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace vestigo {

/// The text without control characters and bytes that are no UTF-8: "?" stands for each.
[[nodiscard]] std::string printable(const std::string& text);

/// The count and as much of the path's end as fits the width, one column a character; control
/// characters and bytes that are no UTF-8 are replaced.
[[nodiscard]] std::string progressText(std::int64_t count, const std::string& path,
                                       std::size_t width);

/// Draws over itself on standard error, some ten times a second; gone when destroyed.
class ProgressLine {
public:
    explicit ProgressLine(std::size_t width) : width_(width) {}
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void show(std::int64_t count, const std::string& path);

private:
    std::size_t width_;
    std::chrono::steady_clock::time_point next_;
    bool shown_ = false;
};

}  // namespace vestigo
