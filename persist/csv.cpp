#include "persist/csv.h"

#include <charconv>
#include <string_view>

#include "platform/clock.h"

namespace vestigo {
namespace {

constexpr std::string_view header =
    "category,bundle,vendor,fix,cpu,apple_signed,created,legacy_count,path\n";

/// Doubles every quote within the value, and changes nothing else.
void appendQuoted(std::string& out, std::string_view value) {
    out += '"';
    for (;;) {
        const auto quote = value.find('"');
        out += value.substr(0, quote);
        if (quote == std::string_view::npos) break;
        out += "\"\"";
        value.remove_prefix(quote + 1);
    }
    out += '"';
}

void appendDecimal(std::string& out, std::size_t value) {
    char text[24];
    out.append(text, std::to_chars(std::begin(text), std::end(text), value).ptr);
}

void appendGroup(std::string& out, const BundleGroup& group, const SignInfo& signature) {
    out += '"';
    out += group.categoryName();
    out += "\",";
    appendQuoted(out, group.name());
    out += ',';
    appendQuoted(out, signature.vendor);
    out += ',';
    out += label(group.fix);
    out += ",\"";
    out += group.cpuSummary();
    out += signature.isApple ? "\",true," : "\",false,";
    out += calendarDate(group.created());
    out += ',';
    appendDecimal(out, group.legacyCount());
    out += ',';
    appendQuoted(out, group.root);
    out += '\n';
}

}  // namespace

std::string csvText(const GroupList& groups, const SignatureMap& signatures) {
    static const SignInfo unknown;
    constexpr std::size_t expectedLine = 256;
    std::string out;
    out.reserve(header.size() + groups.size() * expectedLine);
    out += header;
    for (const auto& group : groups) {
        const auto signature = signatures.find(group.root);
        appendGroup(out, group, signature == signatures.end() ? unknown : signature->second);
    }
    return out;
}

}  // namespace vestigo
