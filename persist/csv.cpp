#include "persist/csv.h"

#include <charconv>
#include <chrono>
#include <string_view>

namespace vestigo {
namespace {

using namespace std::chrono_literals;

constexpr std::string_view header =
    "category,bundle,vendor,fix,cpu,apple_signed,created,legacy_count,path\n";

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

/// At least two digits.
void appendPadded(std::string& out, unsigned value) {
    if (value < 10) out += '0';
    appendDecimal(out, value);
}

/// Year, month and day of a time after the epoch of 2001.
void appendDate(std::string& out, double seconds) {
    using std::chrono::sys_days;
    constexpr auto epoch = sys_days(2001y / 1 / 1);
    constexpr auto days = sys_days(10000y / 1 / 1) - epoch;
    // Rejects NaN as well.
    if (!(seconds > 0 && seconds < static_cast<double>(days.count()) * 86400)) return;
    const std::chrono::year_month_day date =
        epoch + std::chrono::days(static_cast<int>(seconds / 86400));
    appendDecimal(out, static_cast<unsigned>(static_cast<int>(date.year())));
    out += '-';
    appendPadded(out, static_cast<unsigned>(date.month()));
    out += '-';
    appendPadded(out, static_cast<unsigned>(date.day()));
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
    appendDate(out, group.created());
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
