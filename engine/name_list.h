// Many short names in little memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vestigo {

/// Entry names of one folder, each followed by a NUL.
class NameList {
public:
    void add(std::string_view name) {
        offsets_.push_back(static_cast<std::uint32_t>(text_.size()));
        text_.append(name).push_back('\0');
    }
    [[nodiscard]] std::size_t size() const { return offsets_.size(); }
    [[nodiscard]] bool empty() const { return offsets_.empty(); }
    [[nodiscard]] const char* operator[](std::size_t i) const { return &text_[offsets_[i]]; }

private:
    std::string text_;
    std::vector<std::uint32_t> offsets_;
};

}  // namespace vestigo
