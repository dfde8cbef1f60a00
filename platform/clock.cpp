#include "platform/clock.h"

namespace vestigo {
namespace {

using namespace std::chrono_literals;

std::string padded(unsigned value) {
    std::string digits = std::to_string(value);
    if (digits.size() < 2) digits.insert(digits.begin(), '0');
    return digits;
}

}  // namespace

std::string calendarDate(double seconds) {
    using std::chrono::sys_days;
    constexpr auto epoch = sys_days(2001y / 1 / 1);
    constexpr auto days = sys_days(10000y / 1 / 1) - epoch;
    // Rejects NaN as well.
    if (!(seconds > 0 && seconds < static_cast<double>(days.count()) * 86400)) return {};
    const std::chrono::year_month_day date =
        epoch + std::chrono::days(static_cast<int>(seconds / 86400));
    return std::to_string(static_cast<int>(date.year())) + '-' +
           padded(static_cast<unsigned>(date.month())) + '-' +
           padded(static_cast<unsigned>(date.day()));
}

}  // namespace vestigo
