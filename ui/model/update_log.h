// The text that a reinstall writes, which may become long. Knows no toolkit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>

namespace vestigo {

/// Grows at its end without ever being copied. UTF-8.
class UpdateLog {
public:
    void replace(std::string text);
    void append(std::string_view text);
    [[nodiscard]] bool empty() const { return size_ == 0; }
    [[nodiscard]] std::size_t size() const { return size_; }  ///< In bytes.
    /// Another number after each replacement.
    [[nodiscard]] std::uint64_t generation() const { return generation_; }
    /// Calls `take` with what stands from this byte on, piece by piece.
    void readFrom(std::size_t position, const std::function<void(std::string_view)>& take) const;
    /// The whole of it, for short ones.
    [[nodiscard]] std::string text() const;

private:
    std::deque<std::string> pieces_;
    std::size_t size_ = 0;
    std::uint64_t generation_ = 0;
};

}  // namespace vestigo
