// What has changed since a widget was last drawn.
#pragma once

#include <bitset>
#include <cstddef>

#include "engine/scanner.h"
#include "ui/content_view.h"

namespace vestigo {

class Changes {
public:
    [[nodiscard]] static Changes everything() {
        Changes all;
        all.content_.set();
        all.scanner_.set();
        return all;
    }
    void add(ContentField field) { content_.set(static_cast<std::size_t>(field)); }
    void add(ScannerField field) { scanner_.set(static_cast<std::size_t>(field)); }
    [[nodiscard]] bool has(ContentField field) const {
        return content_.test(static_cast<std::size_t>(field));
    }
    [[nodiscard]] bool has(ScannerField field) const {
        return scanner_.test(static_cast<std::size_t>(field));
    }
    /// Whether any of the fields is among the changes.
    template <class... Fields>
    [[nodiscard]] bool hasAny(Fields... fields) const {
        return (has(fields) || ...);
    }

private:
    std::bitset<32> content_;
    std::bitset<32> scanner_;
};

}  // namespace vestigo
