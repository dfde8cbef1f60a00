// Calls that a signal may interrupt.
#pragma once

#include <cerrno>

namespace vestigo {

/// Repeats a call that a signal interrupted; its result.
template <class Call>
auto retrying(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) result = call();
    return result;
}

}  // namespace vestigo
