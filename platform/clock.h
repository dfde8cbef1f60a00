// The one way time is counted here: seconds since 2001-01-01 00:00:00 UTC.
#pragma once

#include <chrono>
#include <string>

namespace vestigo {

inline constexpr double secondsFrom1970To2001 = 978307200;

[[nodiscard]] inline double secondsSince2001() {
    const auto since1970 = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(since1970).count() - secondsFrom1970To2001;
}

/// The day of such a time in UTC, as in 2019-10-07. Empty when it is not after 2001-01-01 00:00:00,
/// and when it lies beyond the year 9999, which this form cannot hold.
[[nodiscard]] std::string calendarDate(double seconds);

}  // namespace vestigo
