// Calls that a signal may interrupt.
#pragma once

#include <cerrno>
#include <type_traits>

namespace vestigo {

/// Repeats a call that a signal interrupted; its result. Calls that give a pointer fail with null,
/// all others with a negative number.
template <class Call>
auto retrying(Call call) {
    const auto interrupted = [](const auto& result) {
        if constexpr (std::is_pointer_v<std::decay_t<decltype(result)>>) {
            return !result && errno == EINTR;
        } else {
            return result < 0 && errno == EINTR;
        }
    };
    auto result = call();
    while (interrupted(result)) result = call();
    return result;
}

}  // namespace vestigo
