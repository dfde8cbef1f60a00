#include "platform/trash_names.h"

namespace vestigo {
namespace {

/// No longer than this, and not in the middle of a UTF-8 character.
std::string_view shortened(std::string_view text, std::size_t longest) {
    if (text.size() <= longest) return text;
    const auto continues = [](char byte) { return (static_cast<unsigned char>(byte) >> 6U) == 2; };
    auto length = longest;
    while (length > 0 && continues(text[length])) --length;
    // Bytes that are no text are cut where the room ends.
    return text.substr(0, length > 0 ? length : longest);
}

}  // namespace

std::string trashName(std::string_view name, unsigned attempt, std::size_t longest) {
    const auto dot = name.rfind('.');
    // A dot at the very beginning or end makes no extension, and a long one is no extension either.
    const bool extended = dot != name.npos && dot > 0 && name.size() - dot < longest / 2;
    std::string ending;
    if (attempt > 1) ending.append(".").append(std::to_string(attempt));
    if (extended) ending += name.substr(dot);
    const auto stem = extended ? name.substr(0, dot) : name;
    return std::string(shortened(stem, longest - ending.size())) + ending;
}

}  // namespace vestigo
