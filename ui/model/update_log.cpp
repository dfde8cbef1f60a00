#include "ui/model/update_log.h"

#include <utility>

namespace vestigo {
namespace {

constexpr std::size_t pieceSize = 256 * 1024;

}  // namespace

void UpdateLog::replace(std::string text) {
    ++generation_;
    pieces_.clear();
    size_ = text.size();
    if (!text.empty()) pieces_.push_back(std::move(text));
}

void UpdateLog::append(std::string_view text) {
    if (text.empty()) return;
    size_ += text.size();
    if (!pieces_.empty() && pieces_.back().size() + text.size() <= pieceSize) {
        pieces_.back().append(text);
    } else {
        pieces_.emplace_back(text);
    }
}

void UpdateLog::readFrom(std::size_t position,
                         const std::function<void(std::string_view)>& visit) const {
    // Readers nearly always want the end, so the search begins there.
    auto piece = pieces_.end();
    std::size_t begin = size_;
    while (piece != pieces_.begin() && begin > position) begin -= (--piece)->size();
    for (; piece != pieces_.end(); ++piece) {
        const auto skipped = position > begin ? position - begin : 0;
        if (skipped < piece->size()) visit(std::string_view(*piece).substr(skipped));
        begin += piece->size();
    }
}

std::string UpdateLog::text() const {
    std::string whole;
    readFrom(0, [&whole](std::string_view piece) { whole += piece; });
    return whole;
}

}  // namespace vestigo
