// Holds the output of a reinstall, which may become very long.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>

namespace vestigo {

/// UTF-8 text that grows at its end. It is kept in pieces, so that appending never copies what is
/// there. A reader that remembers its position and the generation can read only what is new.
class UpdateLog {
public:
    void replace(std::string text);
    void append(std::string_view text);
    [[nodiscard]] bool empty() const { return size_ == 0; }
    [[nodiscard]] std::size_t size() const { return size_; }  ///< In bytes.
    /// Changes with each call of `replace`, and only then.
    [[nodiscard]] std::uint64_t generation() const { return generation_; }
    /// Calls `visit` piece by piece with the text from byte `position` to the end.
    void readFrom(std::size_t position, const std::function<void(std::string_view)>& visit) const;
    /// Returns a copy of the whole text; meant for short ones.
    [[nodiscard]] std::string text() const;

private:
    std::deque<std::string> pieces_;
    std::size_t size_ = 0;
    std::uint64_t generation_ = 0;
};

}  // namespace vestigo
