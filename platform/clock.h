// Time is counted in seconds since 2001-01-01 00:00:00 UTC. Only where two states of a file have to
// be distinguished, it is counted in nanoseconds since 1970.
#pragma once

#include <chrono>
#include <cstdint>
#include <limits>
#include <string>

namespace vestigo {

inline constexpr double secondsFrom1970To2001 = 978307200;

[[nodiscard]] inline double secondsSince2001() {
    const auto since1970 = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(since1970).count() - secondsFrom1970To2001;
}

[[nodiscard]] inline std::int64_t nanosecondsSince1970() {
    const auto since1970 = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(since1970).count();
}

/// Converts a time in the system's own form to nanoseconds since 1970. A time out of range becomes
/// the nearest limit: file systems keep dates up to the year 2446 and beyond.
[[nodiscard]] constexpr std::int64_t nanosecondsSince1970(std::int64_t seconds,
                                                          std::int64_t nanoseconds) {
    constexpr std::int64_t perSecond = 1'000'000'000;
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max() / perSecond - 1;
    if (seconds > most || seconds < -most) {
        return seconds > 0 ? std::numeric_limits<std::int64_t>::max()
                           : std::numeric_limits<std::int64_t>::min();
    }
    return seconds * perSecond + nanoseconds;
}

/// The date in UTC of a time in seconds since 2001, as in 2019-10-07. Empty for times up to
/// 2001-01-01 00:00:00, and for times beyond the year 9999, which this form cannot hold.
[[nodiscard]] std::string calendarDate(double seconds);

}  // namespace vestigo
