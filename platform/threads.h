// Threads started by hand, for work that is spread over several of them.
#pragma once

#include <cstddef>
#include <memory>

#include "platform/tasks.h"

namespace vestigo {

/// A running thread. The destructor waits for its end.
class Thread {
public:
    virtual ~Thread() = default;
};

/// Enough for a walk. Dozens of stacks of default size would use up the address space of a process
/// that is given little.
inline constexpr std::size_t smallStack = std::size_t{256} << 10U;

/// Runs the job on a thread with the priority of the calling one and a stack of so many bytes. The
/// job must not throw. Null when the system has no thread to give.
[[nodiscard]] std::unique_ptr<Thread> startThread(Job job, std::size_t stackBytes);

}  // namespace vestigo
