// Threads with a stack of a chosen size, which the standard library's cannot have.
#pragma once

#include <cstddef>
#include <optional>

#include <pthread.h>

#include "platform/tasks.h"

namespace vestigo {

/// The thread is to be joined or detached. Absent when the system has none to give or no memory for
/// it; the job has then not been run. The job must not throw.
[[nodiscard]] std::optional<pthread_t> startPosixThread(std::size_t stackBytes, const Job& job);

}  // namespace vestigo
