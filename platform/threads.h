// Threads started by hand, for work that is spread over several of them.
#pragma once

#include <memory>

#include "platform/tasks.h"

namespace vestigo {

/// A running thread. The destructor waits for its end.
class Thread {
public:
    virtual ~Thread() = default;
};

/// Runs the job on a thread with the priority of the calling one and a stack of 256 KiB: dozens of
/// default size would use up the address space of a process that is given little. The job must not
/// throw. Null when the system has no thread to give.
[[nodiscard]] std::unique_ptr<Thread> startSmallThread(Job job);

}  // namespace vestigo
