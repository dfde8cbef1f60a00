// Cuts large JSON text into pieces that are parsed one after the other.
#pragma once

#include <cstddef>
#include <string_view>

namespace vestigo {

/// Goes forward through JSON text and tells where values end. It judges nothing but the tokens it
/// is asked for: what it hands out has its quotes and its brackets (by number, not by kind) paired,
/// and is for a parser to accept. So a text is valid when every piece is. The text must outlive it.
/// Time is linear in the text, memory constant.
class JsonCutter {
public:
    explicit JsonCutter(std::string_view text) : rest_(text) {}

    /// Whether nothing but white space is left.
    [[nodiscard]] bool atEnd();
    /// Goes past this token if it comes next.
    [[nodiscard]] bool take(char token);
    /// The string that comes next, with its quotes. Empty when there is none.
    [[nodiscard]] std::string_view string();
    /// Whole values (or members) with the commas between them: up to the first comma after at least
    /// `size` bytes, or to the bracket or end that leaves no more. May be blank.
    [[nodiscard]] std::string_view values(std::size_t size = 0);

private:
    std::string_view cut(std::size_t size);

    std::string_view rest_;
};

}  // namespace vestigo
